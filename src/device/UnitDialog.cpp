#include "device/UnitDialog.h"

#include "platform/Prompter.h"
#include "platform/SerialLink.h"
#include "platform/Waiter.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QShowEvent>
#include <QStackedLayout>
#include <QTimer>
#include <QVBoxLayout>

namespace {

// Passes messages on, except once the user has closed the dialog: a
// routine cut short by the abort would otherwise go on to report its own
// failure ("Tavo not responding") over a dialog that is already gone. The
// default answer stands in for the user's, and for "Program another tavo"
// that is No.
class GuardedPrompter : public Prompter
{
public:
    GuardedPrompter(Prompter &inner, const Waiter &waiter)
        : m_inner(inner)
        , m_waiter(waiter)
    {}

    Answer Show(const QString &text, const QString &title, Icon icon, Buttons buttons,
                Answer defaultAnswer) override
    {
        if (m_waiter.AbortRequested())
            return defaultAnswer;
        return m_inner.Show(text, title, icon, buttons, defaultAnswer);
    }

private:
    Prompter &m_inner;
    const Waiter &m_waiter;
};

// The link as the routines see it: once the user has closed the dialog,
// no port opens and nothing more is written. A routine that is cut short
// still walks through its remaining steps (the search through the ports
// left), and they must not touch the line any more.
class GuardedLink : public SerialLink
{
public:
    GuardedLink(SerialLink &inner, const Waiter &waiter)
        : m_inner(inner)
        , m_waiter(waiter)
    {}

    void SetCommPort(int port) override { m_inner.SetCommPort(port); }
    int CommPort() const override { return m_inner.CommPort(); }
    void SetPortOpen(bool open) override
    {
        if (!open || !m_waiter.AbortRequested())
            m_inner.SetPortOpen(open);
    }
    bool PortOpen() const override { return m_inner.PortOpen(); }
    void SetSettings(const QString &settings) override { m_inner.SetSettings(settings); }
    QString Settings() const override { return m_inner.Settings(); }
    void Output(const QByteArray &bytes) override
    {
        if (m_waiter.AbortRequested())
            throw SerialLinkError("the dialog was closed");
        m_inner.Output(bytes);
    }
    QByteArray Input() override { return m_inner.Input(); }
    int InBufferCount() override { return m_inner.InBufferCount(); }
    QString PortName(int port) const override { return m_inner.PortName(port); }
    QString PortDescription(int port) const override { return m_inner.PortDescription(port); }

private:
    SerialLink &m_inner;
    const Waiter &m_waiter;
};

} // namespace

struct UnitDialog::Session {
    Session(const Parts &parts)
        : link(parts.link, parts.waiter)
        , prompter(parts.prompter, parts.waiter)
        , protocol(link, parts.waiter, prompter, parts.types)
    {}

    GuardedLink link;
    GuardedPrompter prompter;
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
    m_waiter.ClearAbort();

    QPointer<UnitDialog> self(this);
    m_session->protocol.SlotChanged = [self](int slot, const SearchSlot &state) {
        if (self)
            self->applySlot(slot, state);
    };
}

UnitDialog::~UnitDialog()
{
    // Deleted while a routine still waits (its window went away under it):
    // make the routine give up at its next step.
    if (m_busy)
        m_waiter.RequestAbort();
    closePort();
}

VellProtocol &UnitDialog::protocol()
{
    return m_session->protocol;
}

void UnitDialog::done(int result)
{
    m_waiter.RequestAbort();
    closePort();
    QDialog::done(result);
}

void UnitDialog::closePort()
{
    try {
        if (m_link.PortOpen())
            m_link.SetPortOpen(false);
    } catch (const std::exception &) {
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
    } catch (const std::exception &) {
        // The protocol handles the line's own failures; anything left is a
        // program error, which must not take the dialog down with it.
    }
    if (!self)
        return false;
    m_busy = false;
    return !aborted();
}

bool UnitDialog::search()
{
    if (m_searchButton)
        m_searchButton->setEnabled(false);
    const QPointer<UnitDialog> self(this);
    const bool finished = run([](VellProtocol &p) { p.search_for_vell(); });
    if (!self)
        return false;
    if (m_searchButton)
        m_searchButton->setEnabled(true);
    emit SearchFinished();
    return finished;
}

void UnitDialog::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    if (event->spontaneous())
        return;
    m_waiter.ClearAbort();
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
    state.portName = m_link.PortName(slot + 1);
    state.portDescription = m_link.PortDescription(slot + 1);
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
