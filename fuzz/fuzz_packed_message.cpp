// The packed message text, as read from configuration files.
//
// Invariants: a rejected or faulting text leaves the message exactly as it
// was; an accepted text that packs again re-reads to the same message.
#include "FuzzCheck.h"
#include "SerialEditorData.h"

#include <cstdint>
#include <stdexcept>
#include <string_view>

namespace {

SerialEditorData startingMessage()
{
    SerialEditorData m;
    for (int i = 0; i < SerialEditorData::SlotCount; ++i) {
        m.SetByteValue(i, static_cast<std::int16_t>(i * 17));
        m.SetByteType(i, SerialEditorData::Type(i % 7));
    }
    m.SetNumberOfBytesInMessage(5);
    m.SetCurrentByte(2);
    m.SetCurrentMode(SerialEditorData::Type::Binary);
    m.SetCanDoIgnore(true);
    return m;
}

bool sameIncludingCursor(const SerialEditorData &a, const SerialEditorData &b)
{
    return a.IsTheSameAs(b) && a.CurrentByte() == b.CurrentByte() && a.CurrentMode() == b.CurrentMode();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    const SerialEditorData before = startingMessage();
    SerialEditorData message = before;

    bool accepted = false;
    try {
        accepted = message.UnpackFromString(text);
    } catch (const std::out_of_range &) {
        FUZZ_CHECK(sameIncludingCursor(message, before));
        return 0;
    } catch (const std::overflow_error &) {
        FUZZ_CHECK(sameIncludingCursor(message, before));
        return 0;
    }
    if (!accepted) {
        FUZZ_CHECK(sameIncludingCursor(message, before));
        return 0;
    }

    FUZZ_CHECK(message.CurrentMode() == before.CurrentMode());
    const int count = message.NumberOfBytesInMessage();
    FUZZ_CHECK(count <= SerialEditorData::SlotCount);
    if (count >= SerialEditorData::SlotCount)
        return 0; // packing would need the slot after the last one: a fault by design
    const std::string packed = message.PackedIntoString();
    SerialEditorData again;
    FUZZ_CHECK(again.UnpackFromString(packed));
    again.SetCurrentMode(message.CurrentMode()); // the mode is never taken from the text
    // Slots beyond the count are not in the text, so compare what is.
    for (int i = 0; i < (count > 0 ? count : 0); ++i) {
        FUZZ_CHECK(again.ByteValue(i) == message.ByteValue(i));
        FUZZ_CHECK(again.ByteType(i) == message.ByteType(i));
    }
    FUZZ_CHECK(again.NumberOfBytesInMessage() == message.NumberOfBytesInMessage());
    FUZZ_CHECK(again.CurrentByte() == message.CurrentByte());
    FUZZ_CHECK(again.CanDoIgnore() == message.CanDoIgnore());
    FUZZ_CHECK(again.PackedIntoString() == packed);
    return 0;
}
