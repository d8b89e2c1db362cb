#include "VirtualUnitWindow.h"

#include "ByteDisplay.h"
#include "ConfigImage.h"
#include "FaultSwitches.h"
#include "Logging.h"
#include "SerialEditor.h"
#include "UnitLamps.h"
#include "UnitLine.h"
#include "UnitReport.h"

#include <QEvent>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

#include <exception>

namespace {

// Bytes further apart than this are two messages to the eye, whatever the
// unit makes of them.
constexpr qint64 MessageGapMs = 1000;
constexpr int HistoryLimit = 500;
constexpr int TickMs = 100;

QByteArray bytesOf(const SerialEditorData &message)
{
    QByteArray bytes;
    for (int i = 0; i < message.NumberOfBytesInMessage(); ++i)
        bytes.append(static_cast<char>(message.ByteValue(i)));
    return bytes;
}

QLabel *wrappingLabel(const QString &name, QWidget *parent)
{
    auto *label = new QLabel(parent);
    label->setObjectName(name);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

} // namespace

VirtualUnitWindow::VirtualUnitWindow(UnitLine &line, Editor editor, const QString &connection,
                                     QWidget *parent)
    : QWidget(parent, Qt::Window)
    , m_line(line)
    , m_editor(std::move(editor))
    , m_shown(m_editor.shownConfig())
    , m_tick(new QTimer(this))
{
    setObjectName(QStringLiteral("VirtualUnit"));
    setWindowTitle(QStringLiteral("Virtual unit"));
    m_tick->setInterval(TickMs);
    connect(m_tick, &QTimer::timeout, this, &VirtualUnitWindow::showLamps);

    // The lamps and who the unit is across the top; below them what it
    // does on the left, and on the right what is done to it.
    m_lamps = new UnitLamps(this);
    m_identity = wrappingLabel(QStringLiteral("Identity"), this);
    auto *right = new QVBoxLayout;
    right->addWidget(makeTalk());
    right->addWidget(new FaultSwitches(m_line, this));
    right->addStretch();
    auto *columns = new QHBoxLayout;
    columns->addWidget(makeStatus(), 1);
    columns->addLayout(right);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_lamps);
    layout->addWidget(m_identity);
    layout->addLayout(columns, 1);

    connect(&m_line, &UnitLine::heard, this, &VirtualUnitWindow::heard);
    connect(&m_line, &UnitLine::switched, this, &VirtualUnitWindow::switched);
    connect(&m_line, &UnitLine::outputsChanged, this, &VirtualUnitWindow::showLamps);
    connect(&m_line, &UnitLine::imageReceived, this, &VirtualUnitWindow::imageReceived);
    connect(&m_line, &UnitLine::unplugged, this, [this] {
        addEvent(QStringLiteral("unplugged: the unit is off the line"));
        showLamps();
    });
    connect(&m_line, &UnitLine::pluggedIn, this,
            [this] { addEvent(QStringLiteral("plugged in again: all outputs off")); });

    setConnection(connection);
    showLamps();
    showReceived();
    showHolding();
    editorChanged();
}

VirtualUnitWindow::~VirtualUnitWindow() = default;

QWidget *VirtualUnitWindow::makeStatus()
{
    auto *status = new QWidget(this);
    m_holding = wrappingLabel(QStringLiteral("Holding"), status);
    m_listening = wrappingLabel(QStringLiteral("Listening"), status);
    m_note = wrappingLabel(QStringLiteral("Note"), status);
    m_note->setStyleSheet(QStringLiteral(
        "QLabel { background: #fff4c2; color: #222; border: 1px solid #d9b200; padding: 4px; }"));
    m_received = new SerialEditor(status);
    m_received->setObjectName(QStringLiteral("ReceivedBytes"));
    m_received->SetToolTipText(
        QStringLiteral("The bytes the unit received last; the part it recognised is marked"));
    m_receivedAt = wrappingLabel(QStringLiteral("ReceivedAt"), status);
    m_history = new QListWidget(status);
    m_history->setObjectName(QStringLiteral("History"));
    // Room for a line such as "14:03:12  STX,DOOR,1h,ETX -> output 2 on for
    // 5 s" and for a history of some length.
    const QFontMetrics fm = m_history->fontMetrics();
    status->setMinimumWidth(fm.averageCharWidth() * 58);
    m_history->setMinimumHeight(fm.height() * 10);

    auto *layout = new QVBoxLayout(status);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_holding);
    layout->addWidget(m_listening);
    layout->addWidget(m_note);
    layout->addWidget(new QLabel(QStringLiteral("Received last:"), status));
    layout->addWidget(m_received);
    layout->addWidget(m_receivedAt);
    layout->addWidget(new QLabel(QStringLiteral("What switched what:"), status));
    layout->addWidget(m_history, 1);
    return status;
}

QWidget *VirtualUnitWindow::makeTalk()
{
    auto *talk = new QGroupBox(QStringLiteral("Send to the unit, as a sender on its line"), this);
    m_sendEditor = new SerialEditor(talk);
    m_sendEditor->setObjectName(QStringLiteral("SendEditor"));
    m_sendEditor->UseThisMessage(SerialEditorData(), true);
    auto *sendButton = new QPushButton(QStringLiteral("Send"), talk);
    sendButton->setObjectName(QStringLiteral("SendButton"));
    sendButton->setToolTip(QStringLiteral("Sends these bytes at the setting the unit listens at"));
    connect(sendButton, &QPushButton::clicked, this,
            [this] { send(bytesOf(m_sendEditor->ReturnCurrentMessage())); });

    auto *row = new QHBoxLayout;
    row->addWidget(m_sendEditor, 1);
    row->addWidget(sendButton);
    auto *layout = new QVBoxLayout(talk);
    layout->addLayout(row);
    QLabel *codes = wrappingLabel(QStringLiteral("CodesLabel"), talk);
    codes->setText(QStringLiteral("The On and Off codes of outputs 1 to 8 in the editor:"));
    layout->addWidget(codes);
    layout->addWidget(makeCodeButtons());
    return talk;
}

QWidget *VirtualUnitWindow::makeCodeButtons()
{
    auto *codes = new QWidget(this);
    auto *grid = new QGridLayout(codes);
    grid->setContentsMargins(0, 0, 0, 0);
    for (int n = 0; n < ConfigData::OutputCount; ++n) {
        const auto i = static_cast<std::size_t>(n);
        auto *label = new QLabel(QString::number(n + 1), codes);
        label->setToolTip(QStringLiteral("Output %1").arg(n + 1));
        m_onButtons[i] = new QPushButton(QStringLiteral("On"), codes);
        m_onButtons[i]->setObjectName(QStringLiteral("On%1").arg(n + 1));
        m_offButtons[i] = new QPushButton(QStringLiteral("Off"), codes);
        m_offButtons[i]->setObjectName(QStringLiteral("Off%1").arg(n + 1));
        connect(m_onButtons[i], &QPushButton::clicked, this, [this, n] { sendCode(n, true); });
        connect(m_offButtons[i], &QPushButton::clicked, this, [this, n] { sendCode(n, false); });
        // Outputs 1 to 4 in the left half, 5 to 8 in the right, as the
        // main window has its panels.
        const int column = (n / 4) * 3;
        grid->addWidget(label, n % 4, column);
        grid->addWidget(m_onButtons[i], n % 4, column + 1);
        grid->addWidget(m_offButtons[i], n % 4, column + 2);
    }
    return codes;
}

void VirtualUnitWindow::setConnection(const QString &connection)
{
    m_identity->setText(UnitReport::identity(m_line.unit().config()) + QStringLiteral(", ") + connection);
}

void VirtualUnitWindow::heard(const QByteArray &bytes, const QString &settings)
{
    const qint64 now = m_line.clock().now();
    if (settings != m_receivedSettings || m_recognised > 0 || now - m_lastHeardMs > MessageGapMs) {
        m_receivedBytes.clear();
        m_recognised = 0;
        m_recognisedAs.clear();
    }
    m_receivedBytes = (m_receivedBytes + bytes).right(SerialEditorData::MaxBytes);
    m_receivedSettings = settings;
    m_lastHeardMs = now;
    showReceived();
}

void VirtualUnitWindow::switched(const UnitSwitch &change)
{
    addHistory(UnitReport::historyLine(QTime::currentTime(), change, m_shown));
    if (!change.bytes.isEmpty() && m_receivedBytes.endsWith(change.bytes)) {
        m_recognised = std::max(m_recognised, static_cast<int>(change.bytes.size()));
        m_recognisedAs << UnitReport::switchText(change);
        showReceived();
    }
    showLamps();
}

void VirtualUnitWindow::imageReceived()
{
    // A download runs inside the programming dialog, while the editor has
    // the file open that it was started from; an image that is not the
    // editor's came from some other program on the line. (One equal to
    // what the editor shows counts as the editor's, whoever sent it.)
    if (holds(m_editor.shownConfig()))
        m_programmedFrom = m_editor.fileName();
    else
        m_programmedFrom.reset();
    m_programmedAt = QTime::currentTime();
    addEvent(QStringLiteral("configuration received"));
    showHolding();
    editorChanged();
}

void VirtualUnitWindow::addHistory(const QString &line)
{
    m_history->addItem(line);
    while (m_history->count() > HistoryLimit)
        delete m_history->takeItem(0);
    m_history->scrollToBottom();
}

void VirtualUnitWindow::addEvent(const QString &event)
{
    addHistory(UnitReport::historyLine(QTime::currentTime(), event));
}

void VirtualUnitWindow::showLamps()
{
    const UnitSimulator &unit = m_line.unit();
    std::array<std::optional<qint64>, UnitLamps::Count> remaining{};
    bool pulsing = false;
    for (int n = 0; n < UnitLamps::Count; ++n) {
        if (const auto end = unit.pulseEnd(n)) {
            remaining[static_cast<std::size_t>(n)] = *end - m_line.clock().now();
            pulsing = true;
        }
    }
    m_lamps->showOutputs(unit.outputs(), remaining);
    // The time a pulse has left counts down only while one runs.
    if (pulsing && !m_tick->isActive())
        m_tick->start();
    else if (!pulsing)
        m_tick->stop();
}

void VirtualUnitWindow::showReceived()
{
    const SerialEditorData message = UnitReport::typedBytes(m_receivedBytes, m_shown);
    m_received->UseThisMessage(message, false);
    const int count = message.NumberOfBytesInMessage();
    if (m_recognised > 0) {
        m_received->model().placeCursor(count - std::min(m_recognised, count), false);
        m_received->model().placeCursor(count, true);
    }
    if (m_receivedBytes.isEmpty())
        m_receivedAt->setText(QStringLiteral("nothing yet"));
    else if (m_recognisedAs.isEmpty())
        m_receivedAt->setText(QStringLiteral("at %1").arg(m_receivedSettings));
    else
        m_receivedAt->setText(QStringLiteral("at %1, recognised: %2")
                                  .arg(m_receivedSettings, m_recognisedAs.join(QStringLiteral(", "))));
}

void VirtualUnitWindow::showHolding()
{
    const UnitSimulator &unit = m_line.unit();
    if (unit.imagesReceived() == 0) {
        m_holding->setText(QStringLiteral("Holds: nothing programmed yet"));
    } else if (!m_programmedFrom) {
        m_holding->setText(QStringLiteral("Holds: programmed by another program at %1")
                               .arg(m_programmedAt.toString(QStringLiteral("HH:mm"))));
    } else {
        const QString from = m_programmedFrom->isEmpty() ? QStringLiteral("an untitled configuration")
                                                         : QFileInfo(*m_programmedFrom).fileName();
        m_holding->setText(QStringLiteral("Holds: programmed from %1 at %2")
                               .arg(from, m_programmedAt.toString(QStringLiteral("HH:mm"))));
    }
    m_listening->setText(QStringLiteral("Listens for its codes at %1")
                             .arg(UnitSimulator::configuredSettings(unit.image()).toString()));
}

bool VirtualUnitWindow::holds(const ConfigData &config) const
{
    const UnitSimulator &unit = m_line.unit();
    ConfigData built = config;
    // Bytes the image leaves alone keep the unit's values, so only what
    // the unit reads can differ.
    built.ConfigImage = unit.image();
    try {
        tavo::BuildConfigImage(built);
        return built.ConfigImage == unit.image();
    } catch (const std::exception &e) {
        qCInfo(lcUi) << "the editor's configuration makes no image:" << e.what();
        return false;
    }
}

void VirtualUnitWindow::editorChanged()
{
    m_shown = m_editor.shownConfig();
    const UnitSimulator &unit = m_line.unit();
    const bool differs = !holds(m_shown);
    if (unit.imagesReceived() == 0)
        m_note->setText(
            QStringLiteral("Nothing programmed yet: use DOWNLOAD to put the editor's configuration "
                           "into the unit, then try its codes."));
    else if (differs && !m_programmedFrom)
        m_note->setText(QStringLiteral("The unit holds a configuration from another program: use "
                                       "DOWNLOAD to try the codes the editor shows."));
    else if (differs)
        m_note->setText(QStringLiteral("The unit holds an older configuration than the editor shows: use "
                                       "DOWNLOAD again to try the codes as they are now."));
    m_note->setVisible(unit.imagesReceived() == 0 || differs);

    const QString at = UnitSimulator::configuredSettings(unit.image()).toString();
    for (int n = 0; n < ConfigData::OutputCount; ++n) {
        const auto i = static_cast<std::size_t>(n);
        const SerialEditorData &on = m_shown.OnMessages[i];
        const SerialEditorData &off = m_shown.OffMessages[i];
        const bool pulse = m_shown.PulseModes[i];
        m_onButtons[i]->setEnabled(on.NumberOfBytesInMessage() > 0);
        m_onButtons[i]->setToolTip(QStringLiteral("Sends %1 at %2").arg(ByteDisplay::messageText(on), at));
        m_offButtons[i]->setEnabled(!pulse && off.NumberOfBytesInMessage() > 0);
        m_offButtons[i]->setToolTip(
            pulse ? QStringLiteral("In pulse mode the output has no Off code")
                  : QStringLiteral("Sends %1 at %2").arg(ByteDisplay::messageText(off), at));
    }
    showReceived();
}

void VirtualUnitWindow::sendCode(int output, bool on)
{
    m_shown = m_editor.shownConfig();
    const auto i = static_cast<std::size_t>(output);
    const SerialEditorData &code = on ? m_shown.OnMessages[i] : m_shown.OffMessages[i];
    m_sendEditor->UseThisMessage(code, true);
    send(bytesOf(code));
}

void VirtualUnitWindow::send(const QByteArray &bytes)
{
    if (bytes.isEmpty())
        return;
    if (!m_line.present()) {
        addEvent(QStringLiteral("unplugged: nothing heard"));
        return;
    }
    m_line.hear(bytes, UnitSimulator::configuredSettings(m_line.unit().image()));
}

void VirtualUnitWindow::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    // Whatever happened in the editor meanwhile, the window is up to date
    // when the user turns to it.
    if (event->type() == QEvent::ActivationChange && isActiveWindow())
        editorChanged();
}
