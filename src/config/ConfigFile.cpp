#include "ConfigFile.h"

#include "Logging.h"
#include "NumericText.h"
#include "PackedReading.h"
#include "Product.h"
#include "SerialSettings.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>

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
    explicit LineReader(QIODevice &file)
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
    QIODevice &m_file;
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
    } catch (const std::exception &e) {
        qCInfo(lcFile) << "line" << reader.line() << "does not fit 16 bits:" << e.what();
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
    } catch (const std::exception &e) {
        qCInfo(lcFile) << "line" << reader.line() << "cannot be a code:" << e.what();
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

FileWriter::Result writeConfigFile(const QString &path, const ConfigData &config)
{
    QByteArray text;
    try {
        text = configFileText(config);
    } catch (const std::exception &e) {
        qCWarning(lcFile) << "configuration cannot be written as text:" << e.what();
        return {QStringLiteral("a code holds more bytes than a code can")};
    }
    return FileWriter::write(path, text);
}

namespace {

// Opens `file` for reading; what stood in the way, if anything.
std::optional<ConfigReadResult> openForReading(QFile &file)
{
    const QFileInfo info(file.fileName());
    if (!info.exists())
        return ConfigReadResult{ConfigReadResult::NotFound, 0, {}};
    if (info.isDir())
        return ConfigReadResult{ConfigReadResult::IsFolder, 0, {}};
    if (!file.open(QIODevice::ReadOnly))
        return ConfigReadResult{ConfigReadResult::OpenFailed, 0, file.errorString()};
    return std::nullopt;
}

} // namespace

ConfigReadResult readConfigFile(const QString &path, ConfigData &config,
                                const std::function<void(int output)> &outputRead)
{
    QFile file(path);
    if (const auto failed = openForReading(file))
        return *failed;

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
        return {stop.status, reader.line(), {}};
    }
    return {ConfigReadResult::Loaded, 0, {}};
}

ConfigReadResult readConfigBytes(const QString &path, QByteArray &bytes)
{
    QFile file(path);
    if (const auto failed = openForReading(file))
        return *failed;
    bytes = file.read(ConfigFileMaxBytes + 1);
    return {ConfigReadResult::Loaded, 0, {}};
}

namespace {

// Collects the damage of one file, line by line, naming each line for a
// person ("On code of output 3").
class DamageFinder
{
public:
    explicit DamageFinder(const QByteArray &text)
        : m_reader(m_buffer)
    {
        m_buffer.setData(text);
        m_buffer.open(QIODevice::ReadOnly);
    }

    std::vector<ConfigDamage> find()
    {
        if (!next())
            return std::move(m_damage); // empty: not a single line
        for (int n = 1; n <= ConfigData::OutputCount && !m_ended; ++n) {
            code(QStringLiteral("On code of output %1").arg(n));
            code(QStringLiteral("Off code of output %1").arg(n));
            period(n);
            mode(n);
        }
        index(QStringLiteral("baud rate index"), static_cast<int>(BaudRates.size()));
        index(QStringLiteral("parity index"), static_cast<int>(parityWords().size()));
        while (!m_ended && next()) {
            if (!m_line.trimmed().isEmpty()) {
                report(QStringLiteral("text after the %1 lines of a configuration").arg(ConfigFileLineCount));
                break;
            }
        }
        return std::move(m_damage);
    }

private:
    // Moves to the next line; at the end of the file reports the first
    // missing line once.
    bool next()
    {
        if (m_ended)
            return false;
        const std::optional<QByteArray> line = m_reader.next();
        if (!line) {
            m_ended = true;
            if (m_reader.line() <= ConfigFileLineCount) {
                report(m_reader.line() == 1
                           ? QStringLiteral("the file is empty")
                           : QStringLiteral("line %1 is missing: a configuration has %2 lines")
                                 .arg(m_reader.line())
                                 .arg(ConfigFileLineCount));
            }
            return false;
        }
        m_line = *line;
        return true;
    }

    void report(const QString &what) { m_damage.push_back({m_reader.line(), what}); }

    QString quoted() const
    {
        // Long or binary junk is cut to what identifies it, and a byte that
        // is not printable ASCII is shown as \xNN: a damaged file must not
        // send escape sequences to the terminal the message goes to.
        QString text = QStringLiteral("\"");
        for (const char c : m_line.left(24)) {
            const auto byte = static_cast<unsigned char>(c);
            if (byte >= 0x20 && byte < 0x7F)
                text += QLatin1Char(c);
            else
                text += QStringLiteral("\\x%1").arg(uint(byte), 2, 16, QLatin1Char('0'));
        }
        return text + (m_line.size() > 24 ? QStringLiteral("...\"") : QStringLiteral("\""));
    }

    void code(const QString &name)
    {
        if (!next())
            return;
        const PackedReading reading = readPackedText(view(m_line));
        if (const QString why = codeDamage(reading); !why.isEmpty())
            report(name + QStringLiteral(": ") + why);
    }

    // What may follow a code's bytes: nothing, or the pair the writer adds
    // for the slot after the last byte, then perhaps blanks.
    static bool isExtraPair(std::string_view rest)
    {
        while (!rest.empty() && (rest.back() == ' ' || rest.back() == '\t'))
            rest.remove_suffix(1);
        if (rest.empty())
            return true;
        const std::size_t first = rest.find(',');
        if (first == std::string_view::npos || rest.find(',', first + 1) != rest.size() - 1)
            return false;
        const std::string_view value = rest.substr(0, first);
        const std::string_view type = rest.substr(first + 1, rest.size() - first - 2);
        return tavo::wholeNumber(value) && tavo::wholeNumber(type);
    }

    static QString codeDamage(const PackedReading &reading)
    {
        using Fault = PackedReading::Fault;
        switch (reading.fault) {
        case Fault::None: break;
        case Fault::Empty: return QStringLiteral("an empty line, not a code");
        case Fault::FieldNotClosed:
            if (reading.field == 1)
                return QStringLiteral("not a code (a code is a list of numbers, each ended by a comma)");
            return QStringLiteral("cut short at field %1").arg(reading.field);
        case Fault::ModeOutOfRange: return QStringLiteral("the entry mode (field 3) is not 0 to 6");
        case Fault::IgnoreFieldInvalid: return QStringLiteral("field 4 is neither 0 nor 1");
        case Fault::TypeOutOfRange:
            return QStringLiteral("byte %1 has a type that is not 0 to 6").arg(reading.byteIndex + 1);
        case Fault::CountBeyondSlots:
        case Fault::NumberBeyond16Bits: break;
        }
        if (reading.fault == Fault::NumberBeyond16Bits)
            return QStringLiteral("field %1 holds a number beyond 16 bits").arg(reading.field);
        const SerialEditorData &m = reading.message;
        const int count = m.NumberOfBytesInMessage();
        if (reading.fault == Fault::CountBeyondSlots || count > SerialEditorData::MaxBytes)
            return QStringLiteral("%1 bytes, more than the %2 a code can hold")
                .arg(count)
                .arg(SerialEditorData::MaxBytes);
        if (count < 0)
            return QStringLiteral("a byte count of %1").arg(count);
        if (reading.looseField != 0)
            return QStringLiteral("field %1 is not a number").arg(reading.looseField);
        if (!isExtraPair(reading.rest))
            return QStringLiteral("text after the code");
        for (int k = 0; k < count; ++k) {
            const int value = m.ByteValue(k);
            if (value < 0 || value > 255)
                return QStringLiteral("byte %1 is %2, which does not fit a byte").arg(k + 1).arg(value);
        }
        return {};
    }

    // The line as a whole number, or nothing (with the damage reported).
    std::optional<int> number(const QString &name)
    {
        const std::optional<double> n = wholeNumber(view(m_line));
        if (!n) {
            report(QStringLiteral("%1: %2 is not a number").arg(name, quoted()));
            return std::nullopt;
        }
        try {
            return roundToInt16(*n);
        } catch (const std::overflow_error &) {
            report(QStringLiteral("%1: %2 is beyond 16 bits").arg(name, quoted()));
            return std::nullopt;
        }
    }

    void period(int n)
    {
        if (!next())
            return;
        const QString name = QStringLiteral("period of output %1").arg(n);
        const std::optional<int> value = number(name);
        if (value && (*value < 0 || *value > 255))
            report(QStringLiteral("%1 is %2; it must be 0 to 255").arg(name).arg(*value));
    }

    void mode(int n)
    {
        if (next() && !wholeBoolean(view(m_line)))
            report(QStringLiteral("mode of output %1: %2 is neither a number nor True or False")
                       .arg(n)
                       .arg(quoted()));
    }

    void index(const QString &name, int count)
    {
        if (!next())
            return;
        const std::optional<int> value = number(name);
        if (value && (*value < 0 || *value >= count))
            report(QStringLiteral("%1 %2 is not one of 0 to %3").arg(name).arg(*value).arg(count - 1));
    }

    QBuffer m_buffer;
    LineReader m_reader;
    QByteArray m_line;
    bool m_ended = false;
    std::vector<ConfigDamage> m_damage;
};

} // namespace

std::vector<ConfigDamage> findConfigDamage(const QByteArray &fileText)
{
    if (fileText.size() > ConfigFileMaxBytes)
        return {{1, QStringLiteral("more than %1 MB: not a configuration, which is some two kilobytes")
                        .arg(ConfigFileMaxBytes >> 20)}};
    return DamageFinder(fileText).find();
}

} // namespace tavo
