// The clipboard text a user pastes into a message editor, read by the
// clipboard codec. Anything can be on the clipboard; only text an editor
// wrote is meant to be taken back.
//
// Input: one byte whose bit 0 puts the clipboard marker in front of the
// text and whose bit 1 reads the text as UTF-8 rather than Latin-1, then
// the text.
//
// Invariants: reading never throws; text without the marker is refused; an
// accepted text holds no more bytes than a message has slots; whatever was
// accepted encodes to a text that reads back as the same bytes, and that
// text is its own encoding again.
#include "ClipboardCodec.h"
#include "FuzzCheck.h"

#include <cstdint>

namespace {

QString encoded(const QList<ClipboardCodec::Byte> &bytes)
{
    SerialEditorData message;
    for (int k = 0; k < bytes.size(); ++k) {
        message.SetByteValue(k, bytes[k].value);
        message.SetByteType(k, bytes[k].type);
    }
    return ClipboardCodec::encode(message, 0, static_cast<int>(bytes.size()) - 1);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size < 1)
        return 0;
    const QByteArray raw(reinterpret_cast<const char *>(data + 1), static_cast<qsizetype>(size - 1));
    QString text = (data[0] & 2) != 0 ? QString::fromUtf8(raw) : QString::fromLatin1(raw);
    if ((data[0] & 1) != 0)
        text.prepend(ClipboardCodec::Marker);

    const auto bytes = ClipboardCodec::decode(text);
    if (!text.startsWith(ClipboardCodec::Marker))
        FUZZ_CHECK(!bytes);
    if (!bytes || bytes->isEmpty())
        return 0;
    FUZZ_CHECK(bytes->size() <= SerialEditorData::SlotCount);

    const QString again = encoded(*bytes);
    const auto reread = ClipboardCodec::decode(again);
    FUZZ_CHECK(reread && *reread == *bytes);
    FUZZ_CHECK(encoded(*reread) == again);
    return 0;
}
