#include "PtyHosts.h"

#include "PtyUnit.h"
#include "UnitSimulator.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

namespace bench {

namespace {
constexpr int ChildStartMs = 10000;
constexpr int ChildReportMs = 2000;
} // namespace

UnitConfig instantUnit()
{
    UnitConfig config;
    config.probeDelayMs = 0;
    config.ackDelayMs = 0;
    return config;
}

InProcessUnit::InProcessUnit()
    : m_unit(std::make_unique<PtyUnit>(instantUnit()))
{
    connect(m_unit.get(), &PtyUnit::imageReceived, this, [this](const QByteArray &image) {
        ++m_images;
        m_lastImage = image;
    });
}

InProcessUnit::~InProcessUnit() = default;

bool InProcessUnit::start(QString *error)
{
    return m_unit->start(error);
}

QString InProcessUnit::portName() const
{
    return m_unit->slavePath();
}

ChildUnit::ChildUnit(QString program)
    : m_program(std::move(program))
{
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
}

ChildUnit::~ChildUnit()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    // The child ends when its input closes; kill it only if it does not.
    m_process.closeWriteChannel();
    if (!m_process.waitForFinished(ChildReportMs))
        m_process.kill();
    m_process.waitForFinished(ChildReportMs);
}

bool ChildUnit::start(QString *error)
{
    m_process.start(m_program, {});
    if (!m_process.waitForStarted(ChildStartMs)) {
        if (error)
            *error = QStringLiteral("cannot start %1: %2").arg(m_program, m_process.errorString());
        return false;
    }
    while (m_portName.isEmpty()) {
        if (!m_process.waitForReadyRead(ChildStartMs)) {
            if (error)
                *error = QStringLiteral("%1 did not name its terminal").arg(m_program);
            return false;
        }
        readLines();
    }
    return true;
}

void ChildUnit::readLines()
{
    m_pending += m_process.readAllStandardOutput();
    for (;;) {
        const qsizetype end = m_pending.indexOf('\n');
        if (end < 0)
            return;
        const QByteArray line = m_pending.left(end).trimmed();
        m_pending.remove(0, end + 1);
        if (line.startsWith("pty ")) {
            m_portName = QString::fromLocal8Bit(line.mid(4));
        } else if (line.startsWith("image ")) {
            ++m_images;
            m_lastImage = QByteArray::fromHex(line.mid(6));
        }
    }
}

int ChildUnit::imagesReceived()
{
    readLines();
    return m_images;
}

QByteArray ChildUnit::lastImage()
{
    readLines();
    return m_lastImage;
}

bool ChildUnit::waitForImages(int count)
{
    readLines();
    while (m_images < count && m_process.waitForReadyRead(ChildReportMs))
        readLines();
    return m_images >= count;
}

SilentPty::~SilentPty()
{
    if (m_master >= 0)
        ::close(m_master);
}

bool SilentPty::start(QString *error)
{
    m_master = posix_openpt(O_RDWR | O_NOCTTY);
    const char *name = nullptr;
    if (m_master >= 0 && grantpt(m_master) == 0 && unlockpt(m_master) == 0)
        name = ptsname(m_master);
    if (!name) {
        if (error)
            *error = QStringLiteral("no pseudo-terminal: ") + QString::fromLocal8Bit(std::strerror(errno));
        return false;
    }
    m_portName = QString::fromLocal8Bit(name);
    fcntl(m_master, F_SETFL, fcntl(m_master, F_GETFL) | O_NONBLOCK);
    return true;
}

void SilentPty::drain()
{
    char buffer[256];
    while (m_master >= 0 && ::read(m_master, buffer, sizeof buffer) > 0) {
    }
}

} // namespace bench
