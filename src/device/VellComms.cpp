#include "VellComms.h"

#include "ConfigData.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace {

constexpr int ProgressRange = 1000;

QPushButton *button(const QString &name, const QString &text, QWidget *parent)
{
    auto *b = new QPushButton(text, parent);
    b->setObjectName(name);
    // Enter in the dialog must not start a search or a download by itself.
    b->setAutoDefault(false);
    return b;
}

} // namespace

VellComms::VellComms(const ConfigData &config, const Parts &parts, QWidget *parent)
    : UnitDialog(parts, parent)
    , m_config(config)
{
    setObjectName(QStringLiteral("VellComms"));
    setWindowTitle(QStringLiteral("Tavo program"));

    // The progress panel lies over all the slots while programming.
    QWidget *rows = makeSlotRows();
    QFrame *pleaseWait = makePleaseWait();
    QWidget *slotArea = stacked(rows, pleaseWait, this);
    pleaseWait->setVisible(false);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(slotArea);
    layout->addLayout(makeButtons());
    layout->setSizeConstraint(QLayout::SetFixedSize);

    for (int i = 0; i < SlotCount; ++i)
        applySlot(i, protocol().searchSlots()[static_cast<std::size_t>(i)]);

    const QPointer<VellComms> self(this);
    protocol().onProgress = [self](const QString &label, int value) {
        if (!self)
            return;
        self->m_label2->setText(label);
        self->m_progressBar1->setValue(value);
    };
}

QWidget *VellComms::makeSlotRows()
{
    // One row per port, each with its cover.
    auto *rows = new QWidget;
    rows->setObjectName(QStringLiteral("Slots"));
    auto *rowsLayout = new QVBoxLayout(rows);
    rowsLayout->setContentsMargins(0, 0, 0, 0);
    for (int i = 0; i < SlotCount; ++i) {
        const auto n = static_cast<std::size_t>(i);
        auto *option = new QRadioButton;
        option->setObjectName(QStringLiteral("Option1_%1").arg(i));
        // The button has no caption of its own; a screen reader says which
        // slot it chooses (and, once searched, what answered there).
        option->setAccessibleName(QStringLiteral("Slot %1").arg(i + 1));
        // Which slot is chosen is the protocol's to say: the search clears
        // every choice, and a click chooses exactly one.
        option->setAutoExclusive(false);
        connect(option, &QRadioButton::clicked, this, [this, i] { Option1_Click(i); });
        m_option1[n] = option;

        auto *type = new QLineEdit;
        type->setObjectName(QStringLiteral("VellType%1").arg(i));
        type->setReadOnly(true);
        type->setFocusPolicy(Qt::NoFocus);
        type->setMinimumWidth(type->fontMetrics().horizontalAdvance(QStringLiteral("Serial Tavo 4351.255"))
                              + 16);
        m_vellType[n] = type;

        const SlotRow row = makeSlotRow(i, option, type);
        m_portName[n] = row.portName;
        m_blanking[n] = row.blanking;
        rowsLayout->addWidget(row.row);
    }
    rowsLayout->addWidget(portProblems());
    return rows;
}

QFrame *VellComms::makePleaseWait()
{
    m_pleaseWait = new QFrame;
    m_pleaseWait->setObjectName(QStringLiteral("PleaseWait"));
    m_pleaseWait->setFrameShape(QFrame::StyledPanel);
    m_pleaseWait->setAutoFillBackground(true);
    auto *label3 = new QLabel(QStringLiteral("Please wait programing data"), m_pleaseWait);
    label3->setObjectName(QStringLiteral("Label3"));
    auto *label1 = new QLabel(QStringLiteral("Percentage complete"), m_pleaseWait);
    label1->setObjectName(QStringLiteral("Label1"));
    m_label2 = new QLabel(m_pleaseWait);
    m_label2->setObjectName(QStringLiteral("Label2"));
    m_label2->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_progressBar1 = new QProgressBar(m_pleaseWait);
    m_progressBar1->setObjectName(QStringLiteral("ProgressBar1"));
    m_progressBar1->setRange(0, ProgressRange);
    // Label2 carries the percentage; the bar's own text would round it.
    m_progressBar1->setTextVisible(false);
    auto *percentRow = new QHBoxLayout;
    percentRow->addWidget(label1);
    percentRow->addWidget(m_label2);
    auto *waitLayout = new QVBoxLayout(m_pleaseWait);
    waitLayout->addWidget(label3);
    waitLayout->addLayout(percentRow);
    waitLayout->addWidget(m_progressBar1);
    waitLayout->addStretch();
    return m_pleaseWait;
}

QLayout *VellComms::makeButtons()
{
    auto *command1 = button(QStringLiteral("Command1"), QStringLiteral("Search for Tavo"), this);
    m_programVell = button(QStringLiteral("ProgramVell"), QStringLiteral("Program Tavo"), this);
    m_programVell->setEnabled(false);
    auto *command2 = button(QStringLiteral("Command2"), QStringLiteral("Cancel"), this);
    m_searchButton = command1;
    connect(command1, &QPushButton::clicked, this, &VellComms::Command1_Click);
    connect(m_programVell, &QPushButton::clicked, this, &VellComms::ProgramVell_Click);
    connect(command2, &QPushButton::clicked, this, &QDialog::reject);

    auto *buttons = new QHBoxLayout;
    buttons->addWidget(command1);
    buttons->addWidget(makePortsButton());
    buttons->addWidget(m_programVell);
    buttons->addStretch();
    buttons->addWidget(command2);
    return buttons;
}

void VellComms::applySlot(int slot, const SearchSlot &state)
{
    const auto i = static_cast<std::size_t>(slot);
    showSlot(state, m_blanking[i], m_vellType[i], m_option1[i], m_portName[i]);
    if (!state.covered)
        m_option1[i]->setAccessibleName(QStringLiteral("Slot %1: %2").arg(slot + 1).arg(state.text));
}

void VellComms::Form_Activate()
{
    m_programVell->setEnabled(false);
    m_progressBar1->setValue(0);
    for (QFrame *blanking : m_blanking)
        blanking->raise();
    m_pleaseWait->raise();
    m_pleaseWait->setVisible(false);
    Command1_Click();
}

void VellComms::Command1_Click()
{
    if (busy())
        return;
    m_programVell->setEnabled(false);
    const QPointer<VellComms> self(this);
    search();
    if (!self)
        return;
    // After a search nothing is chosen, so there is nothing to program.
    m_programVell->setEnabled(false);
    protocol().chooseSlot(-1);
}

void VellComms::Option1_Click(int index)
{
    if (busy())
        return;
    protocol().chooseSlot(index);
    m_programVell->setEnabled(true);
}

void VellComms::ProgramVell_Click()
{
    if (busy())
        return;
    protocol().setConfigImage(m_config.ConfigImage);
    m_programVell->setEnabled(false);
    m_searchButton->setEnabled(false);

    auto r = VellProtocol::ProgramResult::Finished;
    do {
        if (!run([](VellProtocol &p) { p.set_active_port(); }))
            return;
        m_pleaseWait->setVisible(true);
        if (!run([&r](VellProtocol &p) { r = p.program_unit(); }))
            return;
    } while (r == VellProtocol::ProgramResult::ProgramAnother);

    closePort();
    m_searchButton->setEnabled(true);
    accept();
}
