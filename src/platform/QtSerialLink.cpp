#include "QtSerialLink.h"

#include "LineSettings.h"
#include "Logging.h"

#include <QFile>

#ifdef Q_OS_UNIX
#include <cerrno>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace {

QSerialPort::Parity toParity(LineSettings::Parity parity)
{
    switch (parity) {
    case LineSettings::Parity::Even: return QSerialPort::EvenParity;
    case LineSettings::Parity::Odd: return QSerialPort::OddParity;
    case LineSettings::Parity::Mark: return QSerialPort::MarkParity;
    case LineSettings::Parity::Space: return QSerialPort::SpaceParity;
    case LineSettings::Parity::None: break;
    }
    return QSerialPort::NoParity;
}

} // namespace

QtSerialLink::QtSerialLink(PortSlots ports, QObject *parent)
    : QObject(parent)
    , m_slots(std::move(ports))
{
    connect(&m_port, &QSerialPort::readyRead, this, &QtSerialLink::inputArrived);
    // A port that goes away (adapter unplugged, simulator gone) is closed
    // here so that the protocol sees a closed port and gives up cleanly.
    connect(&m_port, &QSerialPort::errorOccurred, this, [this](QSerialPort::SerialPortError error) {
        if (error == QSerialPort::ResourceError && m_port.isOpen())
            m_port.close();
    });
}

QtSerialLink::~QtSerialLink()
{
    if (m_port.isOpen())
        m_port.close();
}

void QtSerialLink::SetCommPort(int port)
{
    if (m_port.isOpen())
        throw SerialLinkError("the port number cannot change while the port is open");
    if (port < 1 || port > PortSlots::Count)
        throw SerialLinkError("invalid port number");
    m_commPort = port;
}

void QtSerialLink::SetPortOpen(bool open)
{
    if (!open) {
        if (m_port.isOpen())
            m_port.close();
        return;
    }
    if (m_port.isOpen())
        throw SerialLinkError("the port is already open");

    m_lastError.clear();
    const QString name = m_slots.name(m_commPort);
    if (name.isEmpty()) {
        m_lastError = QStringLiteral("no port in slot %1").arg(m_commPort);
        return;
    }
    m_port.setPortName(name);
    m_port.setFlowControl(QSerialPort::NoFlowControl);
    if (!m_port.open(QIODevice::ReadWrite)) {
        m_lastError = openFailure(name, m_port.error(), m_port.errorString());
        qCInfo(lcSerial) << "cannot open" << name << m_port.errorString();
        m_port.clearError();
        return;
    }
    if (const QString refused = applySettings(m_settings); !refused.isEmpty()) {
        m_lastError = refused;
        m_port.close();
    }
}

bool QtSerialLink::PortOpen() const
{
    return m_port.isOpen();
}

QString QtSerialLink::applySettings(const QString &settings)
{
    const auto s = LineSettings::parse(settings);
    if (!s)
        return QStringLiteral("invalid line setting %1").arg(settings);
    // QSerialPort keeps the values of a closed port and applies them when
    // it opens; on an open one each call takes effect at once.
    // Going to no parity, QSerialPort leaves the odd-parity flag of the
    // terminal set; real ports ignore it, but a pseudo-terminal (the unit
    // simulator) reads it as odd parity. Passing through even clears it.
    if (s->parity == LineSettings::Parity::None && m_port.isOpen())
        setParityLeniently(QSerialPort::EvenParity);
    // Adapters differ in the rates they can make: FTDI chips go down to
    // some 183 baud, many CP210x to 300, and 14400 or 28800 are not
    // standard rates everywhere. Say so in words the user can act on.
    QString why;
    if (!m_port.setBaudRate(s->baud))
        why = QStringLiteral("%1 cannot run at %2 baud").arg(m_slots.name(m_commPort)).arg(s->baud);
    else if (!m_port.setDataBits(static_cast<QSerialPort::DataBits>(s->dataBits))
             || !setParityLeniently(toParity(s->parity))
             || !m_port.setStopBits(s->stopBits == 2 ? QSerialPort::TwoStop : QSerialPort::OneStop))
        why = QStringLiteral("%1 refuses the line setting %2: %3")
                  .arg(m_slots.name(m_commPort), settings, m_port.errorString());
    if (why.isEmpty() || !m_port.isOpen())
        return {};
    qCInfo(lcSerial) << why << "-" << m_port.errorString();
    m_port.clearError();
    return why;
}

bool QtSerialLink::setParityLeniently(QSerialPort::Parity parity)
{
    if (m_port.setParity(parity))
        return true;
    // A pseudo-terminal cannot carry parity and the C library reports that
    // as an invalid argument, though everything else has been applied.
    // Real ports never answer so, and the line works either way.
    if (m_port.error() == QSerialPort::UnsupportedOperationError) {
        m_port.clearError();
        return true;
    }
    return false;
}

void QtSerialLink::SetSettings(const QString &settings)
{
    if (!LineSettings::parse(settings))
        throw SerialLinkError("invalid line setting");
    if (const QString refused = applySettings(settings); !refused.isEmpty()) {
        // Back to the setting in force, so that Settings() stays true.
        applySettings(m_settings);
        throw SerialLinkError(refused.toStdString());
    }
    m_settings = settings;
}

void QtSerialLink::setBreakEnabled(bool on)
{
    if (!m_port.isOpen())
        throw SerialLinkError("the port is not open");
    if (!m_port.setBreakEnabled(on)) {
        const QString why = m_port.errorString();
        m_port.clearError();
        throw SerialLinkError(why.toStdString());
    }
}

void QtSerialLink::Output(const QByteArray &bytes)
{
    if (!m_port.isOpen())
        throw SerialLinkError("the port is not open");
    if (m_port.write(bytes) != bytes.size())
        throw SerialLinkError(m_port.errorString().toStdString());
    // Hand the bytes to the driver now: the protocol changes the line
    // setting soon after a write, and the byte must leave at the old one.
    // That is all it takes: every change of setting (and the closing,
    // which puts the old one back) comes after a wait of the protocol's
    // own that is several times what the bytes need on the line (10 ms
    // after a one-byte command, the answer after a block, the drain after
    // a test string), so no tcdrain() is needed, which could also hold the
    // window up on an adapter that stalls.
    m_port.flush();
}

void QtSerialLink::pullPending()
{
    // QSerialPort moves bytes from the driver into its buffer only when the
    // event loop runs. A read between waits (the flushes of the protocol)
    // must see everything that has arrived, so collect it first.
    if (m_port.isOpen() && m_port.waitForReadyRead(0))
        return;
    if (m_port.error() == QSerialPort::TimeoutError)
        m_port.clearError();
}

QByteArray QtSerialLink::Input()
{
    if (!m_port.isOpen())
        return {};
    pullPending();
    return m_port.readAll();
}

int QtSerialLink::InBufferCount()
{
    if (!m_port.isOpen())
        return 0;
    pullPending();
    return static_cast<int>(m_port.bytesAvailable());
}

#ifdef Q_OS_UNIX
namespace {

// The device file behind a port name: "ttyUSB0" is /dev/ttyUSB0, a path is
// itself.
QByteArray devicePath(const QString &portName)
{
    const QString path =
        portName.startsWith(QLatin1Char('/')) ? portName : QStringLiteral("/dev/") + portName;
    return QFile::encodeName(path);
}

// The group that may use the device, when membership would let us in.
QString deviceGroup(const QByteArray &path)
{
    struct stat st {
    };
    if (::stat(path.constData(), &st) != 0 || !(st.st_mode & S_IRGRP) || !(st.st_mode & S_IWGRP))
        return {};
    const struct group *g = ::getgrgid(st.st_gid);
    return g ? QString::fromLocal8Bit(g->gr_name) : QString();
}

} // namespace
#endif

QString QtSerialLink::openFailure(const QString &portName, QSerialPort::SerialPortError error,
                                  const QString &systemText)
{
    switch (error) {
    case QSerialPort::DeviceNotFoundError: return QStringLiteral("there is no port %1").arg(portName);
    case QSerialPort::PermissionError: {
#ifdef Q_OS_UNIX
        // QSerialPort says "permission" both when the device refuses us and
        // when another program holds its lock: only the first is about us.
        const QByteArray path = devicePath(portName);
        if (::access(path.constData(), R_OK | W_OK) != 0 && errno == EACCES) {
            const QString group = deviceGroup(path);
            if (group.isEmpty() || group == QLatin1String("root"))
                return QStringLiteral("you may not open %1: ask the administrator for access to it")
                    .arg(portName);
            return QStringLiteral("you may not open %1: add your user to the group %2 "
                                  "(sudo usermod -aG %2 $USER), then log in again")
                .arg(portName, group);
        }
#endif
        // Windows refuses a second opening of a COM port with "access
        // denied" as well.
        return QStringLiteral("%1 is in use by another program").arg(portName);
    }
    default: break;
    }
    return QStringLiteral("%1: %2").arg(portName, systemText);
}

QString QtSerialLink::portName(int port) const
{
    return m_slots.name(port);
}

QString QtSerialLink::portDescription(int port) const
{
    return m_slots.description(m_slots.name(port));
}
