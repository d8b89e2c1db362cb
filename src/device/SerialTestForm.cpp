#include "SerialTestForm.h"

#include "ConfigData.h"
#include "SerialEditor.h"
#include "SerialSettings.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace {

template <typename Button>
Button *named(const QString &name, const QString &text, QWidget *parent)
{
    auto *b = new Button(text, parent);
    b->setObjectName(name);
    return b;
}

QGroupBox *frame(const QString &name, const QString &title, QWidget *parent)
{
    return named<QGroupBox>(name, title, parent);
}

QPushButton *button(const QString &name, const QString &text, QWidget *parent)
{
    auto *b = named<QPushButton>(name, text, parent);
    // Enter belongs to the message editor, not to Send or the search.
    b->setAutoDefault(false);
    return b;
}

} // namespace

SerialTestForm::SerialTestForm(const ConfigData &config, const Parts &parts, QWidget *parent)
    : UnitDialog(parts, parent)
    , m_config(config)
{
    setObjectName(QStringLiteral("SerialTestForm"));
    setWindowTitle(QStringLiteral("Serial test"));

    QGroupBox *frame7 = makeTargetFrame();
    QGroupBox *frame6 = makeMessageFrame();
    m_serialSettingLabel = new QLabel(this);
    m_serialSettingLabel->setObjectName(QStringLiteral("SerialSettingLabel"));
    QGroupBox *frame1 = makeSettingsFrame();

    m_send = button(QStringLiteral("Send"), QStringLiteral("Send"), this);
    auto *done = button(QStringLiteral("Done"), QStringLiteral("Done"), this);
    connect(m_send, &QPushButton::clicked, this, &SerialTestForm::Send_Click);
    connect(done, &QPushButton::clicked, this, &QDialog::accept);

    auto *left = new QVBoxLayout;
    left->addWidget(frame7);
    left->addWidget(frame6);
    left->addWidget(m_serialSettingLabel);
    left->addStretch();
    auto *top = new QHBoxLayout;
    top->addLayout(left, 1);
    top->addWidget(frame1);
    auto *bottom = new QHBoxLayout;
    bottom->addStretch();
    bottom->addWidget(m_send);
    bottom->addWidget(done);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addLayout(bottom);
    layout->setSizeConstraint(QLayout::SetFixedSize);

    for (int i = 0; i < SlotCount; ++i)
        applySlot(i, protocol().searchSlots()[static_cast<std::size_t>(i)]);
    showOpeningState();
}

QGroupBox *SerialTestForm::makeTargetFrame()
{
    // The ports, and what answered on each.
    QGroupBox *frame7 = frame(QStringLiteral("Frame7"), QStringLiteral("Target Tavo"), this);
    auto *command1 = button(QStringLiteral("Command1"), QStringLiteral("Search for Tavo"), frame7);
    m_searchButton = command1;
    connect(command1, &QPushButton::clicked, this, &SerialTestForm::Command1_Click);
    auto *searchRow = new QHBoxLayout;
    searchRow->addWidget(command1);
    searchRow->addWidget(makePortsButton());
    searchRow->addStretch();
    auto *frame7Layout = new QVBoxLayout(frame7);
    frame7Layout->addLayout(searchRow);
    for (int i = 0; i < SlotCount; ++i) {
        const auto n = static_cast<std::size_t>(i);
        auto *option =
            named<QRadioButton>(QStringLiteral("Option1_%1").arg(i), QString::number(i + 1), nullptr);
        // The search clears every choice; the protocol says which is chosen.
        option->setAutoExclusive(false);
        connect(option, &QRadioButton::clicked, this, [this, i] { Option1_Click(i); });
        m_option1[n] = option;
        m_vellType[n] = named<QLabel>(QStringLiteral("VellType%1").arg(i), QString(), nullptr);
        m_vellType[n]->setMinimumWidth(
            m_vellType[n]->fontMetrics().horizontalAdvance(QStringLiteral("Serial Tavo 4351.255")));
        const SlotRow row = makeSlotRow(i, option, m_vellType[n]);
        m_portName[n] = row.portName;
        m_blanking[n] = row.blanking;
        frame7Layout->addWidget(row.row);
    }
    frame7Layout->addWidget(portProblems());
    return frame7;
}

QGroupBox *SerialTestForm::makeMessageFrame()
{
    QGroupBox *frame6 = frame(QStringLiteral("Frame6"), QStringLiteral("Serial message"), this);
    m_serialEditor1 = new SerialEditor(frame6);
    m_serialEditor1->setObjectName(QStringLiteral("SerialEditor1"));
    (new QVBoxLayout(frame6))->addWidget(m_serialEditor1);
    return frame6;
}

QGroupBox *SerialTestForm::makeSettingsFrame()
{
    // Mode, On/Off and the outputs.
    QGroupBox *frame1 = frame(QStringLiteral("Frame1"), QStringLiteral("Settings"), this);
    QGroupBox *frame5 = makeModeFrame(frame1);
    makeOnOffFrame(frame1);
    makeOutputFrames(frame1);

    auto *outputs = new QGridLayout;
    // Only one of the two output frames shows at a time; they share a cell.
    outputs->addWidget(m_outputCheckFrame, 0, 0);
    outputs->addWidget(m_outputOptionFrame, 0, 0);
    auto *frame1Layout = new QVBoxLayout(frame1);
    frame1Layout->addWidget(frame5);
    frame1Layout->addWidget(m_onOffFrame);
    frame1Layout->addLayout(outputs);
    frame1Layout->addStretch();
    return frame1;
}

QGroupBox *SerialTestForm::makeModeFrame(QWidget *frame1)
{
    QGroupBox *frame5 = frame(QStringLiteral("Frame5"), QStringLiteral("Mode"), frame1);
    auto *modeLayout = new QGridLayout(frame5);
    const QString modeNames[] = {QStringLiteral("Map"), QStringLiteral("Mask"), QStringLiteral("Bit"),
                                 QStringLiteral("Tavo")};
    for (int i = 0; i < 4; ++i) {
        auto *option = named<QRadioButton>(QStringLiteral("ModeOption%1").arg(i), modeNames[i], frame5);
        connect(option, &QRadioButton::clicked, this, [this, i] { ModeOption_Click(i); });
        m_modeOption[static_cast<std::size_t>(i)] = option;
        modeLayout->addWidget(option, i / 2, i % 2);
    }
    return frame5;
}

void SerialTestForm::makeOnOffFrame(QWidget *frame1)
{
    m_onOffFrame = frame(QStringLiteral("OnOffFrame"), QStringLiteral("Switch  Output"), frame1);
    auto *onOffLayout = new QHBoxLayout(m_onOffFrame);
    const QString onOffNames[] = {QStringLiteral("On"), QStringLiteral("Off")};
    for (int i = 0; i < 2; ++i) {
        auto *option =
            named<QRadioButton>(QStringLiteral("OnOffOption%1").arg(i), onOffNames[i], m_onOffFrame);
        connect(option, &QRadioButton::clicked, this, &SerialTestForm::compose);
        m_onOffOption[static_cast<std::size_t>(i)] = option;
        onOffLayout->addWidget(option);
    }
    onOffLayout->addStretch();
}

void SerialTestForm::makeOutputFrames(QWidget *frame1)
{
    m_outputCheckFrame =
        frame(QStringLiteral("OutputCheckFrame"), QStringLiteral("Select outputs on"), frame1);
    auto *checkLayout = new QGridLayout(m_outputCheckFrame);
    m_outputOptionFrame =
        frame(QStringLiteral("OutputOptionFrame"), QStringLiteral("Select output to switch"), frame1);
    auto *whichLayout = new QGridLayout(m_outputOptionFrame);
    for (int i = 0; i < OutputCount; ++i) {
        const auto n = static_cast<std::size_t>(i);
        auto *check = named<QCheckBox>(QStringLiteral("WhichCheck%1").arg(i), QString::number(i + 1),
                                       m_outputCheckFrame);
        connect(check, &QCheckBox::clicked, this, &SerialTestForm::compose);
        m_whichCheck[n] = check;
        checkLayout->addWidget(check, i / 4, i % 4);

        // The eighth button has always been captioned "1"; users know it so.
        const QString caption = QString::number(i < OutputCount - 1 ? i + 1 : 1);
        auto *option =
            named<QRadioButton>(QStringLiteral("WhichOption%1").arg(i), caption, m_outputOptionFrame);
        // A screen reader says which output it is, the eighth included.
        option->setAccessibleName(QStringLiteral("Output %1").arg(i + 1));
        connect(option, &QRadioButton::clicked, this, [this, i] { WhichOption_Click(i); });
        m_whichOption[n] = option;
        whichLayout->addWidget(option, i / 4, i % 4);
    }
}

void SerialTestForm::showOpeningState()
{
    // Opening: the configured codes of the first output, switched on.
    m_modeOption[TestStrings::Tavo]->setChecked(true);
    m_mode = TestStrings::Tavo;
    m_output = 0;
    m_whichOption[0]->setChecked(true);
    m_onOffOption[0]->setChecked(true);
    m_outputOptionFrame->setVisible(true);
    m_outputCheckFrame->setVisible(false);
    m_serialSettingLabel->setText(tavo::SerialSettingsText(m_config));
    for (QFrame *blanking : m_blanking) {
        blanking->raise();
        blanking->setVisible(true);
    }
    m_onOffFrame->setVisible(true);
    compose();
}

void SerialTestForm::applySlot(int slot, const SearchSlot &state)
{
    const auto i = static_cast<std::size_t>(slot);
    showSlot(state, m_blanking[i], m_vellType[i], m_option1[i], m_portName[i]);
}

void SerialTestForm::Form_Activate()
{
    Command1_Click();
}

void SerialTestForm::Command1_Click()
{
    if (busy())
        return;
    m_send->setEnabled(false);
    const QPointer<SerialTestForm> self(this);
    search();
    // The port chosen before stays the form's port even though the search
    // shows no choice; composing decides whether Send can be used.
    if (self && !aborted())
        compose();
}

void SerialTestForm::Option1_Click(int index)
{
    if (busy())
        return;
    m_port = index + 1;
    protocol().chooseSlot(index);
    compose();
}

void SerialTestForm::ModeOption_Click(int index)
{
    m_mode = index;
    const bool map = index == TestStrings::Map;
    m_onOffFrame->setVisible(!map);
    m_outputOptionFrame->setVisible(!map);
    m_outputCheckFrame->setVisible(map);
    compose();
}

void SerialTestForm::WhichOption_Click(int index)
{
    m_output = index;
    compose();
}

void SerialTestForm::compose()
{
    TestStrings::Selection selection;
    selection.port = m_port;
    selection.mode = m_mode;
    selection.output = m_output;
    for (int i = 0; i < OutputCount; ++i)
        selection.checked[static_cast<std::size_t>(i)] =
            m_whichCheck[static_cast<std::size_t>(i)]->isChecked();
    selection.on = m_onOffOption[0]->isChecked();
    selection.off = m_onOffOption[1]->isChecked();

    SerialEditorData &message = m_serialEditor1->ReturnCurrentMessage();
    const TestStrings::Composition c = TestStrings::compose(selection, m_config, message);
    if (c.offVisible)
        m_onOffOption[1]->setVisible(*c.offVisible);
    if (selection.on && !m_onOffOption[0]->isChecked())
        m_onOffOption[0]->setChecked(true);
    if (c.loaded) {
        // The editor takes a configured code as a fresh message (cursor at
        // the start, no undo history), and shows it without letting it be
        // edited.
        SerialEditorData code;
        code.SetAllDataTo(message);
        m_serialEditor1->UseThisMessage(code, false);
    }
    m_serialEditor1->Display();
    if (c.sendEnabled)
        m_send->setEnabled(*c.sendEnabled);
}

void SerialTestForm::Send_Click()
{
    // The send waits for its bytes to leave; meanwhile a second press must
    // not start another one on the same port.
    TestStrings::SendResult result;
    const QPointer<SerialTestForm> self(this);
    run([this, &result](VellProtocol &) {
        result = TestStrings::Send(m_link, m_port, m_mode, m_serialEditor1->ReturnCurrentMessage(), m_config,
                                   &m_waiter);
    });
    // Nothing went out and the user sees the unit not react: say why
    // (the port cannot run at the unit's rate, it is gone, another program
    // has it).
    if (self && !aborted())
        notePortProblem(result.why.isEmpty() ? QString() : QStringLiteral("Send: %1").arg(result.why));
}
