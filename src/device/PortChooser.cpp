#include "PortChooser.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace {

// The item data of "Automatic": no name at all, where "No port" is an
// empty one.
const QVariant Automatic;

QString portText(const PortSlots::SystemPort &port)
{
    return port.description.isEmpty() ? port.name
                                      : QStringLiteral("%1 \u2013 %2").arg(port.name, port.description);
}

} // namespace

PortChooser::PortChooser(PortSlots &ports, QWidget *parent)
    : QDialog(parent)
    , m_ports(ports)
{
    setObjectName(QStringLiteral("PortChooser"));
    setWindowTitle(QStringLiteral("Serial ports"));

    auto *intro = new QLabel(QStringLiteral("The port each slot searches. Automatic takes the next port "
                                            "present at each search. The choice holds until the "
                                            "program ends."),
                             this);
    intro->setWordWrap(true);
    // Listed now, so that an adapter plugged in a moment ago is offered.
    m_ports.relist();
    const QList<PortSlots::SystemPort> present = m_ports.systemPorts();
    auto *form = new QFormLayout;
    for (int port = 1; port <= PortSlots::Count; ++port)
        form->addRow(QStringLiteral("Slot %1").arg(port), makeChoice(port, present));

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &PortChooser::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &PortChooser::reject);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(intro);
    layout->addLayout(form);
    layout->addWidget(buttons);
}

QComboBox *PortChooser::makeChoice(int port, const QList<PortSlots::SystemPort> &present)
{
    auto *choice = new QComboBox(this);
    choice->setObjectName(QStringLiteral("PortChoice%1").arg(port - 1));
    m_choice[static_cast<std::size_t>(port - 1)] = choice;
    if (m_ports.isNamed(port)) {
        const QString name = m_ports.name(port);
        choice->addItem(name.isEmpty() ? QStringLiteral("No port") : name, name);
        choice->setEnabled(false);
        choice->setToolTip(QStringLiteral("Named when the program started (--ports or TAVO_PORTS)"));
        return choice;
    }
    const QString listed = m_ports.listedName(port);
    choice->addItem(QStringLiteral("Automatic (%1)").arg(listed.isEmpty() ? QStringLiteral("none") : listed),
                    Automatic);
    choice->addItem(QStringLiteral("No port"), QString());
    for (const PortSlots::SystemPort &p : present)
        choice->addItem(portText(p), p.name);

    const std::optional<QString> chosen = m_ports.chosen(port);
    if (!chosen)
        return choice;
    int index = choice->findData(*chosen);
    if (index < 0) {
        choice->addItem(QStringLiteral("%1 (not present)").arg(*chosen), *chosen);
        index = choice->count() - 1;
    }
    choice->setCurrentIndex(index);
    return choice;
}

void PortChooser::accept()
{
    for (int port = 1; port <= PortSlots::Count; ++port) {
        if (m_ports.isNamed(port))
            continue;
        const QVariant picked = m_choice[static_cast<std::size_t>(port - 1)]->currentData();
        m_ports.choose(port, picked.isValid() ? std::optional<QString>(picked.toString()) : std::nullopt);
    }
    QDialog::accept();
}
