#pragma once

#include "PortSlots.h"
#include "UnitServices.h"
#include "VellTypes.h"

#include <functional>
#include <memory>

class EventLoopWaiter;
class InProcessLink;
class KeyValueStore;
class MessageBoxPrompter;
class Prompter;
class QtSerialLink;
class SerialLink;
class UnitDialog;
class UnitLine;
class Waiter;

// The unit side of the editor: the device-type table and the two dialogs
// that talk to a unit, on one serial link shared by both.
//
// The program's instance runs on the system's serial ports (QSerialPort),
// waits in event loops and asks through message boxes; given a simulated
// unit in this program, port slot 1 is that unit. Tests hand in a
// simulated link, a virtual-time waiter, a scripted prompter and their
// own store.
class DeviceUnitServices : public UnitServices
{
public:
    explicit DeviceUnitServices(const PortSlots &ports = PortSlots::fromEnvironment(),
                                UnitLine *unitOnSlotOne = nullptr);
    DeviceUnitServices(SerialLink &link, Waiter &waiter, Prompter &prompter, KeyValueStore &store);
    ~DeviceUnitServices() override;

    // The system port of a slot from now on (a simulated unit's new
    // terminal); only for the program's own link.
    void setPortName(int slot, const QString &name);
    // Modal to their parent window only, so that other windows (the
    // Virtual unit) still take clicks while a dialog runs.
    void setDialogsWindowModal(bool windowModal) { m_windowModal = windowModal; }

    void checkDeviceTypes() override;
    void showTestDialog(ConfigData &config, QWidget *parent) override;
    void showProgrammingDialog(ConfigData &config, QWidget *parent) override;

    // Called with each dialog right before it runs modally, so a test can
    // drive it (and close it) from the dialog's own event loop.
    std::function<void(UnitDialog &)> dialogOpened;

private:
    void runModal(UnitDialog &dialog);

    PortSlots m_ports;
    std::unique_ptr<QtSerialLink> m_ownLink;
    std::unique_ptr<InProcessLink> m_unitLink;
    std::unique_ptr<EventLoopWaiter> m_ownWaiter;
    std::unique_ptr<MessageBoxPrompter> m_ownPrompter;
    std::unique_ptr<KeyValueStore> m_ownStore;
    SerialLink *m_link;
    Waiter *m_waiter;
    Prompter *m_prompter;
    KeyValueStore *m_store;
    VellTypes m_types;
    bool m_windowModal = false;
};
