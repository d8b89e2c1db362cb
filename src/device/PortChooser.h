#pragma once

#include "PortSlots.h"

#include <QDialog>

#include <array>

class QComboBox;

// "Serial ports": which of the system's ports the four slots of the search
// use. Each slot offers "Automatic" (the next port the system has, as
// without a choice), "No port" and every port present with its
// description; a port chosen earlier and since pulled out stays offered.
// Slots named when the program started (--ports, TAVO_PORTS) are shown
// but cannot be changed.
//
// OK puts the choice into the slots, where it holds until the program ends.
class PortChooser : public QDialog
{
    Q_OBJECT

public:
    PortChooser(PortSlots &ports, QWidget *parent = nullptr);

    void accept() override;

private:
    QComboBox *makeChoice(int port, const QList<PortSlots::SystemPort> &present);

    PortSlots &m_ports;
    std::array<QComboBox *, PortSlots::Count> m_choice{};
};
