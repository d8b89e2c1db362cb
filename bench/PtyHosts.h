#pragma once

#include <QByteArray>
#include <QObject>
#include <QProcess>
#include <QString>

#include <memory>

class PtyUnit;
struct UnitConfig;

namespace bench {

// A unit that answers at once: the benchmarks measure our side of the
// line, so the unit's own thinking time is taken out.
UnitConfig instantUnit();

// A simulated unit on a pseudo-terminal, for the host to open as its port.
class UnitHost
{
public:
    virtual ~UnitHost() = default;
    virtual bool start(QString *error) = 0;
    virtual QString portName() const = 0;
    // Complete downloads the unit has taken so far, and the last of them.
    virtual int imagesReceived() = 0;
    virtual QByteArray lastImage() = 0;
    // Gives a unit in another process the moment to report downloads that
    // are complete but not yet read; true when `count` are in by then.
    virtual bool waitForImages(int count) = 0;
};

// The unit in this process, on this thread's event loop: its work is done
// inside the host's waits, as with the editor's simulated unit.
class InProcessUnit : public QObject, public UnitHost
{
    Q_OBJECT

public:
    InProcessUnit();
    ~InProcessUnit() override;

    bool start(QString *error) override;
    QString portName() const override;
    int imagesReceived() override { return m_images; }
    QByteArray lastImage() override { return m_lastImage; }
    bool waitForImages(int count) override { return m_images >= count; }

private:
    std::unique_ptr<PtyUnit> m_unit;
    int m_images = 0;
    QByteArray m_lastImage;
};

// The unit in a child process (bench_unit), scheduled by the system as a
// real unit would be independent of the host: its work never delays the
// host's event loop, but every answer crosses two processes.
class ChildUnit : public UnitHost
{
public:
    explicit ChildUnit(QString program);
    ~ChildUnit() override;

    bool start(QString *error) override;
    QString portName() const override { return m_portName; }
    int imagesReceived() override;
    QByteArray lastImage() override;
    bool waitForImages(int count) override;

private:
    void readLines();

    QString m_program;
    QProcess m_process;
    QByteArray m_pending;
    QString m_portName;
    int m_images = 0;
    QByteArray m_lastImage;
};

// A pseudo-terminal with nothing behind it: it opens like a port with an
// adapter and no unit, and whatever is written to it is never answered.
class SilentPty
{
public:
    SilentPty() = default;
    ~SilentPty();
    SilentPty(const SilentPty &) = delete;
    SilentPty &operator=(const SilentPty &) = delete;

    bool start(QString *error);
    QString portName() const { return m_portName; }
    // Throws away what the host wrote, so that no run of many finds the
    // terminal's buffer full.
    void drain();

private:
    int m_master = -1;
    QString m_portName;
};

} // namespace bench
