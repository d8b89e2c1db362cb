#include "DeviceUnitServices.h"

#include "EventLoopWaiter.h"
#include "InProcessLink.h"
#include "MessageBoxPrompter.h"
#include "QtSerialLink.h"
#include "SerialTestForm.h"
#include "SettingsKeyValueStore.h"
#include "VellComms.h"

DeviceUnitServices::DeviceUnitServices(const PortSlots &ports, UnitLine *unitOnSlotOne)
    : m_ports(ports)
    , m_ownLink(std::make_unique<QtSerialLink>(ports))
    , m_ownWaiter(std::make_unique<EventLoopWaiter>())
    , m_ownPrompter(std::make_unique<MessageBoxPrompter>())
    , m_ownStore(SettingsKeyValueStore::openDefault())
    , m_link(m_ownLink.get())
    , m_waiter(m_ownWaiter.get())
    , m_prompter(m_ownPrompter.get())
    , m_store(m_ownStore.get())
{
    // A wait for the unit's answer ends as soon as the bytes are in, not
    // at its time-out.
    m_ownWaiter->watch(m_ownLink.get(), &QtSerialLink::inputArrived);
    if (unitOnSlotOne) {
        m_unitLink = std::make_unique<InProcessLink>(*unitOnSlotOne, m_ownLink.get());
        m_ownWaiter->watch(m_unitLink.get(), &InProcessLink::inputArrived);
        m_link = m_unitLink.get();
    }
}

DeviceUnitServices::DeviceUnitServices(SerialLink &link, Waiter &waiter, Prompter &prompter,
                                       KeyValueStore &store)
    : m_link(&link)
    , m_waiter(&waiter)
    , m_prompter(&prompter)
    , m_store(&store)
{}

DeviceUnitServices::~DeviceUnitServices() = default;

void DeviceUnitServices::setPortName(int slot, const QString &name)
{
    m_ports.setName(slot, name);
    if (m_ownLink)
        m_ownLink->setPortSlots(m_ports);
}

void DeviceUnitServices::checkDeviceTypes()
{
    m_types.CheckVellTypes(*m_store);
}

void DeviceUnitServices::showTestDialog(ConfigData &config, QWidget *parent)
{
    SerialTestForm dialog(config, {*m_link, *m_waiter, *m_prompter, m_types}, parent);
    runModal(dialog);
}

void DeviceUnitServices::showProgrammingDialog(ConfigData &config, QWidget *parent)
{
    VellComms dialog(config, {*m_link, *m_waiter, *m_prompter, m_types}, parent);
    runModal(dialog);
}

void DeviceUnitServices::runModal(UnitDialog &dialog)
{
    // Messages of the serial routines belong over the dialog that runs
    // them.
    if (m_ownPrompter)
        m_ownPrompter->setParent(&dialog);
    if (m_windowModal)
        dialog.setWindowModality(Qt::WindowModal);
    if (dialogOpened)
        dialogOpened(dialog);
    // exec() returns only once every wait the dialog started has unwound,
    // so the dialog on the stack outlives the routines that use it.
    dialog.exec();
    if (m_ownPrompter)
        m_ownPrompter->setParent(nullptr);
}
