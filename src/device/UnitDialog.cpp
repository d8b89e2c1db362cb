#include "UnitDialog.h"

#include "Logging.h"
#include "PortChooser.h"
#include "PortSlots.h"
#include "Prompter.h"
#include "SerialLink.h"
#include "Waiter.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QShowEvent>
#include <QStackedLayout>
#include <QTimer>
#include <QVBoxLayout>

struct UnitDialog::Session {
    Session(const Parts &parts)
        : protocol(parts.link, parts.waiter, parts.prompter, parts.types)
    {}

    VellProtocol protocol;
};

UnitDialog::UnitDialog(const Parts &parts, QWidget *parent)
    : QDialog(parent)
    , m_link(parts.link)
    , m_waiter(parts.waiter)
    , m_session(std::make_shared<Session>(parts))
{
    // A new dialog starts a new session with the unit, whatever the one
    // before it was cut short by.
    m_waiter.clearAbort();

    m_portProblems = new QLabel(this);
    m_portProblems->setObjectName(QStringLiteral("PortProblems"));
    m_portProblems->setWordWrap(true);
    m_portProblems->setVisible(false);

    QPointer<UnitDialog> self(this);
    m_session->protocol.slotChanged = [self](int slot, const SearchSlot &state) {
        if (!self)
            return;
        self->applySlot(slot, state);
        self->noteOpenError(slot, state);
    };
}

void UnitDialog::noteOpenError(int slot, const SearchSlot &state)
{
    // A slot being searched keeps what it said until its port is done.
    if (state.covered)
        return;
    m_openErrors[static_cast<std::size_t>(slot)] = state.openError;
    showPortProblems();
}

void UnitDialog::notePortProblem(const QString &problem)
{
    m_otherProblem = problem;
    showPortProblems();
}

void UnitDialog::showPortProblems()
{
    QStringList lines;
    for (std::size_t i = 0; i < m_openErrors.size(); ++i) {
        if (!m_openErrors[i].isEmpty())
            lines << QStringLiteral("Slot %1: %2").arg(i + 1).arg(m_openErrors[i]);
    }
    if (!m_otherProblem.isEmpty())
        lines << m_otherProblem;
    m_portProblems->setText(lines.join(QLatin1Char('\n')));
    m_portProblems->setVisible(!lines.isEmpty());
}

QPushButton *UnitDialog::makePortsButton()
{
    m_portsButton = new QPushButton(QStringLiteral("Ports..."), this);
    m_portsButton->setObjectName(QStringLiteral("ChoosePorts"));
    m_portsButton->setAutoDefault(false);
    PortSlots *ports = m_link.portSlots();
    m_portsButton->setVisible(ports != nullptr);
    bool anyFree = false;
    for (int port = 1; ports && port <= PortSlots::Count; ++port)
        anyFree = anyFree || !ports->isNamed(port);
    m_portsButton->setEnabled(anyFree);
    m_portsButton->setToolTip(anyFree ? QStringLiteral("Choose the serial ports the four slots search")
                                      : QStringLiteral("The ports were named by --ports or TAVO_PORTS"));
    connect(m_portsButton, &QPushButton::clicked, this, &UnitDialog::choosePorts);
    return m_portsButton;
}

void UnitDialog::choosePorts()
{
    PortSlots *ports = m_link.portSlots();
    if (!ports || m_busy)
        return;
    auto *chooser = new PortChooser(*ports, this);
    chooser->setAttribute(Qt::WA_DeleteOnClose);
    // The slots show their new ports as the search reaches them.
    connect(chooser, &QDialog::accepted, this, &UnitDialog::Command1_Click, Qt::QueuedConnection);
    chooser->open();
}

UnitDialog::~UnitDialog()
{
    // Deleted while a routine still waits (its window went away under it):
    // make the routine give up at its next step.
    if (m_busy)
        m_waiter.requestAbort();
    closePort();
}

VellProtocol &UnitDialog::protocol()
{
    return m_session->protocol;
}

void UnitDialog::done(int result)
{
    m_waiter.requestAbort();
    closePort();
    QDialog::done(result);
}

void UnitDialog::closePort()
{
    try {
        if (m_link.PortOpen())
            m_link.SetPortOpen(false);
    } catch (const std::exception &e) {
        qCInfo(lcSerial) << "the dialog's port did not close:" << e.what();
    }
}

bool UnitDialog::aborted() const
{
    return m_waiter.AbortRequested();
}

bool UnitDialog::run(const std::function<void(VellProtocol &)> &work)
{
    // The routines are not re-entrant: a click that arrives during a wait
    // must not start a second one on the same port.
    if (m_busy || aborted())
        return false;
    const QPointer<UnitDialog> self(this);
    const std::shared_ptr<Session> session = m_session;
    m_busy = true;
    try {
        work(session->protocol);
    } catch (const SerialLinkError &e) {
        // The protocol handles the line's own failures; anything left
        // must not take the dialog down with it.
        qCInfo(lcSerial) << "the port failed under the dialog's routine:" << e.what();
    } catch (const std::exception &e) {
        qCInfo(lcUi) << "program error in the dialog's routine:" << e.what();
    }
    if (!self)
        return false;
    m_busy = false;
    return !aborted();
}

bool UnitDialog::search()
{
    // What the last send said belongs to the ports searched before.
    notePortProblem({});
    if (m_searchButton)
        m_searchButton->setEnabled(false);
    const bool portsFree = m_portsButton && m_portsButton->isEnabled();
    if (m_portsButton)
        m_portsButton->setEnabled(false);
    const QPointer<UnitDialog> self(this);
    const bool finished = run([](VellProtocol &p) { p.search_for_vell(); });
    if (!self)
        return false;
    if (m_searchButton)
        m_searchButton->setEnabled(true);
    if (m_portsButton)
        m_portsButton->setEnabled(portsFree);
    emit searchFinished();
    return finished;
}

void UnitDialog::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    if (event->spontaneous())
        return;
    m_waiter.clearAbort();
    // Let the window paint before the search holds the line for a second
    // or more per port.
    QTimer::singleShot(0, this, [this] {
        if (isVisible())
            Form_Activate();
    });
}

UnitDialog::SlotRow UnitDialog::makeSlotRow(int slot, QWidget *option, QWidget *type)
{
    auto *content = new QWidget;
    auto *portName = new QLabel(content);
    portName->setObjectName(QStringLiteral("PortName%1").arg(slot));
    portName->setMinimumWidth(portName->fontMetrics().horizontalAdvance(QStringLiteral("/dev/ttyUSB00")));
    SearchSlot state;
    state.portName = m_link.portName(slot + 1);
    state.portDescription = m_link.portDescription(slot + 1);
    showPort(portName, state);

    // Whatever the search hides, the row keeps its height and its columns
    // their place, so the slots stay lined up with their ports.
    for (QWidget *w : {option, type}) {
        QSizePolicy policy = w->sizePolicy();
        policy.setRetainSizeWhenHidden(true);
        w->setSizePolicy(policy);
    }
    auto *layout = new QHBoxLayout(content);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(10);
    layout->addWidget(option);
    layout->addWidget(portName);
    layout->addWidget(type, 1);

    auto *blanking = new QFrame;
    blanking->setObjectName(QStringLiteral("Blanking%1").arg(slot));
    blanking->setFrameShape(QFrame::StyledPanel);
    blanking->setAutoFillBackground(true);
    auto *label = new QLabel(QStringLiteral("Please Wait Searching for Tavos"), blanking);
    label->setObjectName(QStringLiteral("Blanking1_%1").arg(slot));
    auto *coverLayout = new QVBoxLayout(blanking);
    coverLayout->setContentsMargins(6, 0, 6, 0);
    coverLayout->addWidget(label);

    return {stacked(content, blanking, this), portName, blanking};
}

void UnitDialog::showPort(QLabel *label, const SearchSlot &state)
{
    label->setText(state.portName.isEmpty() ? QStringLiteral("(no port)") : state.portName);
    label->setToolTip(state.portDescription);
}

QWidget *UnitDialog::stacked(QWidget *content, QWidget *cover, QWidget *parent)
{
    auto *place = new QWidget(parent);
    auto *layout = new QStackedLayout(place);
    layout->setStackingMode(QStackedLayout::StackAll);
    layout->addWidget(content);
    layout->addWidget(cover);
    layout->setCurrentWidget(cover);
    return place;
}
