#include "DeviceUnitServices.h"

#include "EventLoopWaiter.h"
#include "MessageBoxPrompter.h"
#include "QtSerialLink.h"
#include "SerialTestForm.h"
#include "SettingsKeyValueStore.h"
#include "VellComms.h"

DeviceUnitServices::DeviceUnitServices(const PortSlots &ports)
    : m_ownLink(std::make_unique<QtSerialLink>(ports))
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
}

DeviceUnitServices::DeviceUnitServices(SerialLink &link, Waiter &waiter, Prompter &prompter,
                                       KeyValueStore &store)
    : m_link(&link)
    , m_waiter(&waiter)
    , m_prompter(&prompter)
    , m_store(&store)
{}

DeviceUnitServices::~DeviceUnitServices() = default;

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
    if (dialogOpened)
        dialogOpened(dialog);
    // exec() returns only once every wait the dialog started has unwound,
    // so the dialog on the stack outlives the routines that use it.
    dialog.exec();
    if (m_ownPrompter)
        m_ownPrompter->setParent(nullptr);
}
