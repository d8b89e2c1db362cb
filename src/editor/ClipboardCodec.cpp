#include "ClipboardCodec.h"

#include "Logging.h"
#include "NumericText.h"

#include <exception>

namespace ClipboardCodec {
namespace {

// Comma-terminated fields after the marker, read as the packed message's
// fields are. A field without its comma means the text was cut short.
class FieldReader
{
public:
    explicit FieldReader(const QString &text)
        : m_text(text)
        , m_pos(Marker.size())
    {}

    // Throws std::overflow_error for a number beyond 16 bits.
    std::optional<std::int16_t> next()
    {
        const qsizetype comma = m_text.indexOf(QLatin1Char(','), m_pos);
        if (comma < 0)
            return std::nullopt;
        const QString field = m_text.mid(m_pos, comma - m_pos);
        m_pos = comma + 1;
        return tavo::leadingInt16(field.toStdString());
    }

private:
    const QString &m_text;
    qsizetype m_pos;
};

std::optional<QList<Byte>> readBytes(FieldReader &fields)
{
    const auto count = fields.next();
    if (!count || *count == 0 || *count > SerialEditorData::SlotCount)
        return std::nullopt;
    QList<Byte> bytes;
    for (int k = 0; k < *count; ++k) {
        const auto value = fields.next();
        const auto type = value ? fields.next() : std::nullopt;
        if (!type)
            return std::nullopt;
        bytes.append({*value, SerialEditorData::Type{*type}});
    }
    return bytes;
}

} // namespace

QString encode(const SerialEditorData &message, int first, int last)
{
    QString text = Marker + QString::number(last - first + 1) + QLatin1Char(',');
    for (int i = first; i <= last; ++i) {
        text += QStringLiteral("%1,%2,")
                    .arg(message.ByteValue(i))
                    .arg(SerialEditorData::codeOf(message.ByteType(i)));
    }
    return text;
}

std::optional<QList<Byte>> decode(const QString &text)
{
    if (!text.startsWith(Marker))
        return std::nullopt;
    try {
        FieldReader fields(text);
        return readBytes(fields);
    } catch (const std::exception &e) {
        // A number beyond 16 bits; nobody's editor writes one, and a paste
        // of a damaged text quietly does nothing, as it always has.
        qCDebug(lcUi) << "clipboard text refused:" << e.what();
        return std::nullopt;
    }
}

} // namespace ClipboardCodec
