#pragma once

#include <QString>

#include <memory>

class DeviceUnitServices;
class PortSlots;
class PtyUnit;
class SerialTavo;
class UnitLine;
class VirtualUnitWindow;

// Opens the "Virtual unit" window of `line` and keeps it in step with the
// editor: the window sees the editor's file and codes, and the dialogs
// leave it free to be clicked while they run. `connection` says where the
// host finds the unit.
std::unique_ptr<VirtualUnitWindow> openVirtualUnit(UnitLine &line, const QString &connection,
                                                   SerialTavo &window, DeviceUnitServices &units);

// The simulated unit of `serial-tavo-editor --simulate` and its "Virtual
// unit" window. Where the system has pseudo-terminals the unit sits on one,
// named in port slot 1, so that any serial program can reach it too;
// elsewhere (Windows) it is connected to port slot 1 inside the program.
class SimulatedUnit
{
public:
    // Starts the unit; on a terminal, `ports` gets its name in slot 1.
    // `why` tells why there is no terminal, when there is none.
    explicit SimulatedUnit(PortSlots &ports, QString *why = nullptr);
    ~SimulatedUnit();

    UnitLine &line();
    // The unit to connect to port slot 1 inside the program, or null when
    // it is on a terminal.
    UnitLine *inProcess() { return m_inProcess.get(); }
    // Where the host finds it: "on /dev/pts/4, port slot 1".
    QString connection() const;

    // Opens the window (openVirtualUnit()) beside the main window; a unit
    // plugged in again on a new terminal is found there.
    VirtualUnitWindow &showWindow(SerialTavo &window, DeviceUnitServices &units);

private:
    void pluggedIn(DeviceUnitServices &units);

    std::unique_ptr<PtyUnit> m_pty;
    std::unique_ptr<UnitLine> m_inProcess;
    std::unique_ptr<VirtualUnitWindow> m_window;
};
