#include "FaultSwitches.h"

#include "UnitLine.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QPushButton>
#include <QSpinBox>

namespace {

// The answers a command can get, in the order the lists show them.
struct AckChoice {
    UnitAckFault fault;
    const char *text;
};
constexpr AckChoice AckChoices[] = {
    {UnitAckFault::None, "acknowledged (F0 00)"},
    {UnitAckFault::WrongByte, "refused (0F 00)"},
    {UnitAckFault::Silent, "not answered"},
    {UnitAckFault::SingleByte, "answered with F0 alone"},
};

int indexOf(UnitAckFault fault)
{
    for (int i = 0; i < int(std::size(AckChoices)); ++i) {
        if (AckChoices[i].fault == fault)
            return i;
    }
    return 0;
}

} // namespace

FaultSwitches::FaultSwitches(UnitLine &line, QWidget *parent)
    : QGroupBox(QStringLiteral("Faults"), parent)
    , m_line(line)
    , m_silent(new QCheckBox(QStringLiteral("Silent: does not answer the search"), this))
    , m_checkByte(new QCheckBox(QStringLiteral("Wrong check byte in its answer to the search"), this))
    , m_blocks(ackChoice(QStringLiteral("FaultBlocks"), indexOf(line.unit().config().blockFault)))
    , m_restart(ackChoice(QStringLiteral("FaultRestart"), indexOf(line.unit().config().restartFault)))
    , m_vanish(new QCheckBox(QStringLiteral("Unplugged after block"), this))
    , m_vanishBlock(new QSpinBox(this))
    , m_plug(new QPushButton(this))
{
    setObjectName(QStringLiteral("Faults"));
    const UnitConfig &config = line.unit().config();
    m_silent->setObjectName(QStringLiteral("FaultSilent"));
    m_silent->setChecked(config.probeSilent);
    m_checkByte->setObjectName(QStringLiteral("FaultCheckByte"));
    m_checkByte->setChecked(config.badCheckByte);
    m_vanish->setObjectName(QStringLiteral("FaultVanish"));
    m_vanish->setChecked(config.vanishAfterBlock >= 0);
    m_vanishBlock->setObjectName(QStringLiteral("FaultVanishBlock"));
    m_vanishBlock->setRange(0, UnitSimulator::BlockCount - 1);
    m_vanishBlock->setValue(config.vanishAfterBlock >= 0 ? config.vanishAfterBlock
                                                         : UnitSimulator::BlockCount / 4);
    m_plug->setObjectName(QStringLiteral("Plug"));

    connect(m_silent, &QCheckBox::toggled, this,
            [this](bool on) { m_line.unit().config().probeSilent = on; });
    connect(m_checkByte, &QCheckBox::toggled, this,
            [this](bool on) { m_line.unit().config().badCheckByte = on; });
    connect(m_blocks, &QComboBox::currentIndexChanged, this, &FaultSwitches::applyAcks);
    connect(m_restart, &QComboBox::currentIndexChanged, this, &FaultSwitches::applyAcks);
    connect(m_vanish, &QCheckBox::toggled, this, &FaultSwitches::applyVanish);
    connect(m_vanishBlock, &QSpinBox::valueChanged, this, &FaultSwitches::applyVanish);
    connect(m_plug, &QPushButton::clicked, this, [this] {
        if (m_line.present())
            m_line.unplug();
        else
            m_line.plugIn();
    });
    connect(&m_line, &UnitLine::unplugged, this, &FaultSwitches::showPlug);
    connect(&m_line, &UnitLine::pluggedIn, this, &FaultSwitches::showPlug);

    auto *vanishRow = new QHBoxLayout;
    vanishRow->addWidget(m_vanish);
    vanishRow->addWidget(m_vanishBlock);
    vanishRow->addStretch();
    auto *form = new QFormLayout(this);
    form->addRow(m_silent);
    form->addRow(m_checkByte);
    form->addRow(QStringLiteral("Download blocks:"), m_blocks);
    form->addRow(QStringLiteral("Restart:"), m_restart);
    form->addRow(vanishRow);
    form->addRow(m_plug);
    showPlug();
}

QComboBox *FaultSwitches::ackChoice(const QString &name, int current)
{
    auto *box = new QComboBox(this);
    box->setObjectName(name);
    for (const AckChoice &choice : AckChoices)
        box->addItem(QString::fromLatin1(choice.text));
    box->setCurrentIndex(current);
    return box;
}

void FaultSwitches::applyAcks()
{
    UnitConfig &config = m_line.unit().config();
    config.blockFault = AckChoices[m_blocks->currentIndex()].fault;
    config.restartFault = AckChoices[m_restart->currentIndex()].fault;
}

void FaultSwitches::applyVanish()
{
    m_line.unit().config().vanishAfterBlock = m_vanish->isChecked() ? m_vanishBlock->value() : -1;
}

void FaultSwitches::showPlug()
{
    m_plug->setText(m_line.present() ? QStringLiteral("Unplug") : QStringLiteral("Plug in again"));
}
