#include "OutputControl.h"

#include "SerialEditor.h"
#include "Twips.h"
#include "byteEditor.h"

#include <QGroupBox>
#include <QLabel>
#include <QRadioButton>
#include <QStyle>

#include <algorithm>
#include <stdexcept>

namespace {

// Where the panel was drawn wider than its minimum, in twips: the frame, the
// code editors and their labels, and the findings mark at the frame's right.
constexpr int FrameWidth = 5775;
constexpr int FrameHeight = 1695;
constexpr int CodeWidth = 4335;
constexpr int MarkLeft = 5400;

// Names a child and puts it where the panel was drawn with it.
void place(QWidget *child, const QString &name, const QRect &where)
{
    child->setObjectName(name);
    child->setGeometry(where);
}

} // namespace

OutputControl::OutputControl(ConfigData &config, QWidget *parent)
    : QWidget(parent)
    , m_config(config)
    , m_mainFrame(new QGroupBox(QStringLiteral("Output 1"), this))
    , m_frame2(new QGroupBox(m_mainFrame))
    , m_periodLabel(new QLabel(QStringLiteral("Period"), m_frame2))
    , m_period(new byteEditor(m_frame2))
    , m_labelSerialOn(new QLabel(QStringLiteral("Serial code for ON"), m_mainFrame))
    , m_serialEditorOn(new SerialEditor(m_mainFrame))
    , m_labelSerialOff(new QLabel(QStringLiteral("Serial code for OFF"), m_mainFrame))
    , m_serialEditorOff(new SerialEditor(m_mainFrame))
    , m_findingsMark(new QLabel(m_mainFrame))
{
    using tavo::twipsRect;
    place(m_mainFrame, QStringLiteral("MainFrame"), twipsRect(0, 0, FrameWidth, FrameHeight));
    place(m_frame2, QStringLiteral("Frame2"), twipsRect(120, 240, 1095, 1335));
    addOperationOptions();

    place(m_periodLabel, QStringLiteral("PeriodLabel"), twipsRect(120, 720, 735, 255));
    place(m_period, QStringLiteral("Period"), twipsRect(120, 960, 735, 255));
    connect(m_period, &byteEditor::Changed, this, &OutputControl::periodChanged);

    place(m_labelSerialOn, QStringLiteral("LabelSerialOn"), twipsRect(1320, 240, CodeWidth, 255));
    place(m_serialEditorOn, QStringLiteral("SerialEditorOn"), twipsRect(1320, 480, CodeWidth, 375));
    place(m_labelSerialOff, QStringLiteral("LabelSerialOff"), twipsRect(1320, 960, CodeWidth, 255));
    place(m_serialEditorOff, QStringLiteral("SerialEditorOff"), twipsRect(1320, 1200, CodeWidth, 375));
    // Replaced by SetIndex; seen only on an unbound panel.
    m_serialEditorOff->SetToolTipText(QStringLiteral("Seial code to turn output Off"));
    connect(m_serialEditorOn, &SerialEditor::Changed, this, &OutputControl::messageChanged);
    connect(m_serialEditorOff, &SerialEditor::Changed, this, &OutputControl::messageChanged);
    connect(m_serialEditorOn, &SerialEditor::messageEdited, this, &OutputControl::codesEdited);
    connect(m_serialEditorOff, &SerialEditor::messageEdited, this, &OutputControl::codesEdited);
    // In the corner of the frame, where the title leaves room.
    place(m_findingsMark, QStringLiteral("FindingsMark"), twipsRect(MarkLeft, 0, 300, 300));
    m_findingsMark->setVisible(false);

    // As drawn at the least; a wider panel gives its codes the room.
    setMinimumSize(sizeHint());
    setMaximumHeight(sizeHint().height());
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void OutputControl::addOperationOptions()
{
    const QString captions[] = {QStringLiteral("On/Off"), QStringLiteral("Pulse")};
    const QString tooltips[] = {
        QStringLiteral("Outputs use seperate On/Off serial codes"),
        QStringLiteral("Output On for \"Period\" seconds after serial code received")};
    // As wide as the frame allows: the captions must not be clipped in
    // fonts wider than the one the panel was drawn with.
    const QRect places[] = {tavo::twipsRect(120, 120, 930, 255), tavo::twipsRect(120, 360, 930, 255)};
    for (const Operation operation : {Operation::OnOff, Operation::Pulse}) {
        const auto i = static_cast<std::size_t>(operation);
        auto *button = new QRadioButton(captions[i], m_frame2);
        place(button, QStringLiteral("OuputOperation_%1").arg(i), places[i]);
        button->setToolTip(tooltips[i]);
        connect(button, &QRadioButton::clicked, this, [this, operation] { OuputOperation_Click(operation); });
        m_ouputOperation[i] = button;
    }
}

QSize OutputControl::sizeHint() const
{
    return tavo::twipsRect(0, 0, FrameWidth, FrameHeight).size();
}

void OutputControl::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    // Whatever the panel has beyond its drawn width goes to the frame and to
    // the codes, so that long codes show without scrolling; the mark stays
    // in the frame's corner. At the drawn width all is where it was drawn.
    const int extra = std::max(0, width() - sizeHint().width());
    m_mainFrame->resize(tavo::twipsToPixels(FrameWidth) + extra, m_mainFrame->height());
    for (QWidget *code : std::initializer_list<QWidget *>{m_labelSerialOn, m_serialEditorOn, m_labelSerialOff,
                                                          m_serialEditorOff})
        code->resize(tavo::twipsToPixels(CodeWidth) + extra, code->height());
    m_findingsMark->move(tavo::twipsToPixels(MarkLeft) + extra, m_findingsMark->y());
}

void OutputControl::SetIndex(int index)
{
    if (index < 0 || index >= ConfigData::OutputCount)
        throw std::out_of_range("output index outside 0 to 7");
    const auto i = static_cast<std::size_t>(index);

    m_loadingFlag = true;
    m_outputNumber = index;
    const QString title = QStringLiteral("Output %1").arg(index + 1);
    m_mainFrame->setTitle(title);
    // What a screen reader says for the panel and its codes, which the
    // eye takes from the frame's title and the labels above them.
    setAccessibleName(title);
    m_serialEditorOn->setAccessibleName(m_labelSerialOn->text() + QStringLiteral(", ") + title);
    m_serialEditorOff->setAccessibleName(m_labelSerialOff->text() + QStringLiteral(", ") + title);
    m_period->set_values(m_config.OnPeriods[i], byteEditor::Decimal,
                         QStringLiteral("On period in seconds, 0 = 0.1 seconds "));
    m_serialEditorOn->SetToolTipText(QStringLiteral("Serial code to turn output On"));
    m_serialEditorOn->UseThisMessage(m_config.OnMessages[i], true);
    m_serialEditorOff->SetToolTipText(QStringLiteral("Serial code to turn output Off"));
    m_serialEditorOff->UseThisMessage(m_config.OffMessages[i], true);

    const Operation mode = m_config.PulseModes[i] ? Operation::Pulse : Operation::OnOff;
    option(mode)->setChecked(true);
    OuputOperation_Click(mode); // shows the controls of the mode; writes nothing while loading
    m_loadingFlag = false;
}

void OutputControl::ColateSerialData()
{
    collateInto(m_config);
}

void OutputControl::collateInto(ConfigData &config) const
{
    const auto i = static_cast<std::size_t>(m_outputNumber);
    config.OnMessages.at(i).SetAllDataTo(m_serialEditorOn->ReturnCurrentMessage());
    config.OffMessages.at(i).SetAllDataTo(m_serialEditorOff->ReturnCurrentMessage());
}

void OutputControl::setFindings(const QStringList &messages, bool error)
{
    m_findingsMark->setVisible(!messages.isEmpty());
    if (messages.isEmpty())
        return;
    const QStyle::StandardPixmap icon = error ? QStyle::SP_MessageBoxCritical : QStyle::SP_MessageBoxWarning;
    m_findingsMark->setPixmap(style()->standardIcon(icon).pixmap(m_findingsMark->size()));
    m_findingsMark->setToolTip(messages.join(QLatin1Char('\n')));
    m_findingsMark->setProperty("error", error);
}

QRadioButton *OutputControl::option(Operation operation) const
{
    return m_ouputOperation[static_cast<std::size_t>(operation)];
}

void OutputControl::OuputOperation_Click(Operation index)
{
    // A pulse output has no Off code to show (it is kept, not cleared) but a
    // period; an On/Off output the other way round.
    const bool pulse = index == Operation::Pulse;
    m_serialEditorOff->setVisible(!pulse);
    m_labelSerialOff->setVisible(!pulse);
    m_periodLabel->setVisible(pulse);
    m_period->setVisible(pulse);

    if (m_loadingFlag)
        return;
    m_config.PulseModes.at(static_cast<std::size_t>(m_outputNumber)) = option(Operation::Pulse)->isChecked();
    emit Click();
}

void OutputControl::periodChanged()
{
    if (m_loadingFlag)
        return;
    m_config.OnPeriods.at(static_cast<std::size_t>(m_outputNumber)) = m_period->return_value();
    emit Click();
}

void OutputControl::messageChanged()
{
    if (!m_loadingFlag)
        emit Click();
}
