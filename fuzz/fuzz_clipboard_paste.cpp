// The clipboard text a user pastes into a message editor. Anything can be
// on the clipboard; only text an editor wrote is meant to be taken back.
//
// Input: three bytes that set up the message being edited (its length,
// where the cursor stands, whether wildcards are allowed and whether the
// text gets the clipboard marker put in front), then the clipboard text.
//
// Invariants: a refused text leaves the message as it was and records no
// undo step; an accepted one only inserts at the cursor, never grows the
// message past 14 bytes, never brings an Ignore byte into a message that
// forbids them, keeps cursor and anchor inside the message, and is undone
// by one Undo. Whatever a paste produced copies out and pastes back into
// an empty message byte for byte.
#include "FuzzCheck.h"
#include "editor/EditorModel.h"

#include <cstdint>

namespace {

using Type = SerialEditorData::Type;

SerialEditorData startingMessage(int count, bool canIgnore)
{
    SerialEditorData m;
    for (int i = 0; i < SerialEditorData::SlotCount; ++i) {
        m.SetByteValue(i, static_cast<std::int16_t>((i * 37 + 11) % 256));
        // Every type but Ignore, which the message may not be allowed to hold.
        m.SetByteType(i, Type(i % SerialEditorData::codeOf(Type::Ignore)));
    }
    m.SetNumberOfBytesInMessage(static_cast<std::int16_t>(count));
    m.SetCanDoIgnore(canIgnore);
    return m;
}

bool sameBytes(const SerialEditorData &a, int aFirst, const SerialEditorData &b, int bFirst, int n)
{
    for (int i = 0; i < n; ++i) {
        if (a.ByteValue(aFirst + i) != b.ByteValue(bFirst + i)
            || a.ByteType(aFirst + i) != b.ByteType(bFirst + i))
            return false;
    }
    return true;
}

void checkPlacement(const EditorModel &model)
{
    const SerialEditorData &m = model.Message();
    const int count = m.NumberOfBytesInMessage();
    FUZZ_CHECK(count >= 0 && count <= SerialEditorData::MaxBytes);
    FUZZ_CHECK(m.CurrentByte() >= 0 && m.CurrentByte() <= count);
    FUZZ_CHECK(model.SelectAnchor() >= 0 && model.SelectAnchor() <= count);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size < 3)
        return 0;
    const int count = data[0] % (SerialEditorData::MaxBytes + 1);
    const int cursor = data[1] % (count + 1);
    const bool canIgnore = (data[2] & 1) != 0;
    const bool allowEdit = (data[2] & 2) != 0;
    const bool addMarker = (data[2] & 4) != 0;
    const QByteArray raw(reinterpret_cast<const char *>(data + 3), static_cast<qsizetype>(size - 3));
    QString text = (data[2] & 8) != 0 ? QString::fromUtf8(raw) : QString::fromLatin1(raw);
    if (addMarker)
        text.prepend(EditorModel::ClipboardMarker);

    EditorModel model;
    model.UseThisMessage(startingMessage(count, canIgnore), allowEdit);
    model.placeCursor(cursor, false);
    const SerialEditorData before = model.Message();
    const int historyBefore = model.HistoryTop();

    const bool accepted = model.Paste(text);
    checkPlacement(model);
    const SerialEditorData &after = model.Message();
    if (!accepted) {
        FUZZ_CHECK(after.IsTheSameAs(before));
        FUZZ_CHECK(after.CurrentByte() == before.CurrentByte());
        FUZZ_CHECK(model.HistoryTop() == historyBefore);
        return 0;
    }

    // Pasting only ever inserts at the cursor: the bytes before it stay, the
    // bytes from it on move up by what was inserted.
    const int inserted = after.NumberOfBytesInMessage() - count;
    FUZZ_CHECK(inserted >= 0);
    FUZZ_CHECK(sameBytes(after, 0, before, 0, cursor));
    FUZZ_CHECK(sameBytes(after, cursor + inserted, before, cursor, count - cursor));
    if (inserted > 0)
        FUZZ_CHECK(after.CurrentByte() == cursor + inserted);
    FUZZ_CHECK(after.CanDoIgnore() == canIgnore);
    if (!canIgnore) {
        for (int i = 0; i < after.NumberOfBytesInMessage(); ++i)
            FUZZ_CHECK(after.ByteType(i) != Type::Ignore);
    }

    // What the paste made copies out and pastes back as it is.
    const SerialEditorData pasted = after;
    const QString copied = model.CopyText(true);
    FUZZ_CHECK(copied.isEmpty() == (pasted.NumberOfBytesInMessage() == 0));
    if (!copied.isEmpty()) {
        EditorModel other;
        other.UseThisMessage(startingMessage(0, true), true);
        FUZZ_CHECK(other.Paste(copied));
        FUZZ_CHECK(other.Message().NumberOfBytesInMessage() == pasted.NumberOfBytesInMessage());
        FUZZ_CHECK(sameBytes(other.Message(), 0, pasted, 0, pasted.NumberOfBytesInMessage()));
    }

    // One Undo takes the whole paste back.
    model.Undo();
    FUZZ_CHECK(model.Message().IsTheSameAs(before));
    checkPlacement(model);
    if (inserted > 0) {
        model.Redo();
        FUZZ_CHECK(model.Message().IsTheSameAs(pasted));
    }
    return 0;
}
