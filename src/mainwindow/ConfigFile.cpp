#include "mainwindow/ConfigFile.h"

#include "mainwindow/Product.h"
#include "message/NumericText.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <exception>
#include <optional>
#include <string_view>

namespace tavo {

namespace {

void appendLine(QByteArray &out, const QByteArray &line)
{
    out += line;
    out += "\r\n";
}

void appendLine(QByteArray &out, const std::string &line)
{
    appendLine(out, QByteArray::fromStdString(line));
}

void appendLine(QByteArray &out, int number)
{
    appendLine(out, QByteArray::number(number));
}

std::string_view view(const QByteArray &bytes)
{
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

// Reads the file a line at a time, counting lines for the failure report.
class LineReader
{
public:
    explicit LineReader(QFile &file)
        : m_file(file)
    {}

    // The next line without its line end, or nothing at the end of the file.
    std::optional<QByteArray> next()
    {
        ++m_line;
        if (m_file.atEnd())
            return std::nullopt;
        QByteArray line = m_file.readLine();
        if (line.endsWith('\n'))
            line.chop(1);
        if (line.endsWith('\r'))
            line.chop(1);
        return line;
    }

    int line() const { return m_line; }

private:
    QFile &m_file;
    int m_line = 0;
};

// Thrown inside the reader to leave it at the first unreadable line.
struct StopReading {
    ConfigReadResult::Status status;
};

QByteArray requireLine(LineReader &reader)
{
    std::optional<QByteArray> line = reader.next();
    if (!line)
        throw StopReading{ConfigReadResult::MissingLine};
    return *line;
}

std::int16_t requireInt16(LineReader &reader)
{
    const QByteArray line = requireLine(reader);
    const std::optional<double> number = wholeNumber(view(line));
    if (!number)
        throw StopReading{ConfigReadResult::BadValue};
    try {
        return roundToInt16(*number);
    } catch (const std::exception &) {
        throw StopReading{ConfigReadResult::BadValue};
    }
}

bool requireBoolean(LineReader &reader)
{
    const QByteArray line = requireLine(reader);
    const std::optional<bool> value = wholeBoolean(view(line));
    if (!value)
        throw StopReading{ConfigReadResult::BadValue};
    return *value;
}

void readMessage(LineReader &reader, SerialEditorData &message)
{
    const QByteArray line = requireLine(reader);
    try {
        // A line that is not a packed message is passed over on purpose:
        // the message keeps what it held and the rest of the file still
        // loads. Only a fault (a count beyond the slots, a number beyond
        // 16 bits) stops the reading.
        (void)message.UnpackFromString(view(line));
    } catch (const std::exception &) {
        throw StopReading{ConfigReadResult::BadValue};
    }
}

} // namespace

QByteArray configFileText(const ConfigData &config)
{
    QByteArray out;
    appendLine(out, configFileHeader());
    for (int n = 0; n < ConfigData::OutputCount; ++n) {
        const auto i = static_cast<std::size_t>(n);
        appendLine(out, config.OnMessages[i].PackedIntoString());
        appendLine(out, config.OffMessages[i].PackedIntoString());
        appendLine(out, config.OnPeriods[i]);
        appendLine(out, config.PulseModes[i] ? -1 : 0);
    }
    appendLine(out, config.BaudIndex);
    appendLine(out, config.ParityIndex);
    return out;
}

bool writeConfigFile(const QString &path, const ConfigData &config)
{
    QByteArray text;
    try {
        text = configFileText(config);
    } catch (const std::exception &) {
        return false;
    }

    // QSaveFile replaces the file by renaming, which would happily replace
    // a write-protected one; the user protected it for a reason.
    const QFileInfo existing(path);
    if (existing.exists() && (!existing.isFile() || !existing.isWritable()))
        return false;

    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    // A file this small only reaches the disk when the buffer is flushed,
    // and commit() renames the new file into place even when that flush
    // fails (disk full, file size limit): flush here and check.
    if (file.write(text) != text.size() || !file.flush()) {
        file.cancelWriting();
        return false;
    }
    return file.commit();
}

ConfigReadResult readConfigFile(const QString &path, ConfigData &config,
                                const std::function<void(int output)> &outputRead)
{
    const QFileInfo info(path);
    if (!info.exists() || info.isDir())
        return {ConfigReadResult::NotFound, 0};

    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {ConfigReadResult::OpenFailed, 0};

    LineReader reader(file);
    try {
        requireLine(reader); // the header says nothing we need
        for (int n = 0; n < ConfigData::OutputCount; ++n) {
            const auto i = static_cast<std::size_t>(n);
            readMessage(reader, config.OnMessages[i]);
            readMessage(reader, config.OffMessages[i]);
            config.OnPeriods[i] = requireInt16(reader);
            config.PulseModes[i] = requireBoolean(reader);
            if (outputRead)
                outputRead(n);
        }
        // One at a time: a file cut after the baud line keeps the new baud
        // index with the old parity index.
        config.BaudIndex = requireInt16(reader);
        config.ParityIndex = requireInt16(reader);
    } catch (const StopReading &stop) {
        return {stop.status, reader.line()};
    }
    return {ConfigReadResult::Loaded, 0};
}

} // namespace tavo
