#include "EditorModel.h"

#include "ClipboardCodec.h"

#include <algorithm>

using Type = SerialEditorData::Type;

EditorModel::EditorModel(QObject *parent)
    : QObject(parent)
{}

// --- public face ------------------------------------------------------------

void EditorModel::UseThisMessage(const SerialEditorData &message, bool allowEdit)
{
    // SetAllDataTo leaves our entry mode alone; it is set to ASCII below.
    m_message.SetAllDataTo(message);
    m_message.SetCurrentByte(0);
    m_allowEdit = allowEdit;
    m_selectAnchor = 0;
    m_entryState = 0;
    m_message.SetCurrentMode(Type::Ascii);
    m_forcedDisplayMode.reset();
    m_selectFlag = true;
    m_lastEdited = m_message;
    redraw();
    m_history.reset(m_message);
}

void EditorModel::DisplayAsThisMode(int mode)
{
    if (mode < -1 || mode > SerialEditorData::codeOf(Type::Control))
        return;
    m_forcedDisplayMode = mode == -1 ? ByteDisplay::ForcedType() : Type(mode);
    redraw();
}

void EditorModel::setLeadingZeros(bool on)
{
    m_leadingZeros = on;
    redraw();
}

// --- undo history -----------------------------------------------------------

void EditorModel::beginEdit()
{
    m_editStartCopy.SetAllDataTo(m_message);
}

void EditorModel::recordStep()
{
    m_history.record(m_message, m_editStartCopy);
}

void EditorModel::redraw()
{
    emit redrawNeeded();
    // Every edit ends by redrawing.
    if (!m_message.IsTheSameAs(m_lastEdited)) {
        m_lastEdited = m_message;
        emit messageEdited();
    }
}

void EditorModel::restoreFrom(const SerialEditorData &entry)
{
    m_message.SetAllDataTo(entry);
    m_entryState = 0;
    setCursor(m_message.CurrentByte());
    m_selectAnchor = int16(cursor());
    redraw();
}

void EditorModel::undo()
{
    if (const SerialEditorData *entry = m_history.undo())
        restoreFrom(*entry);
}

void EditorModel::redo()
{
    if (const SerialEditorData *entry = m_history.redo())
        restoreFrom(*entry);
}

// --- cursor and selection ---------------------------------------------------

int EditorModel::lastCursorPosition() const
{
    // After the last byte, but never beyond slot 14: a full message has its
    // cursor on the spare fifteenth slot.
    return std::clamp<int>(m_message.NumberOfBytesInMessage(), 0, SerialEditorData::MaxBytes);
}

int EditorModel::cursor() const
{
    return std::clamp<int>(m_message.CurrentByte(), 0, lastCursorPosition());
}

int EditorModel::anchor() const
{
    return std::clamp<int>(m_selectAnchor, 0, lastCursorPosition());
}

void EditorModel::setCursor(int position)
{
    m_message.SetCurrentByte(int16(std::clamp(position, 0, lastCursorPosition())));
}

bool EditorModel::isSelected(int index) const
{
    if (m_entryState != 0)
        return false;
    const int c = cursor();
    const int a = anchor();
    if (c > a)
        return index >= a && index <= c;
    return index >= c && index <= a - 1;
}

bool EditorModel::hasSelection() const
{
    return !(cursor() == anchor() && m_selectFlag);
}

std::optional<EditorModel::Range> EditorModel::selectionRange() const
{
    if (m_entryState > 0 || !hasSelection())
        return std::nullopt;
    Range r{std::min(cursor(), anchor()), std::max(cursor(), anchor())};
    if (r.last == shownByteCount())
        --r.last;
    return r;
}

bool EditorModel::applyType(Type type)
{
    if (m_entryState != 0 || !hasSelection())
        return false;
    // While the cursor stands after the last byte the selection reaches the
    // spare slot after the message, and that slot takes the type too: it is
    // written into the packed text's extra pair, so files keep it.
    for (int i = 0; i < SerialEditorData::SlotCount; ++i) {
        if (isSelected(i))
            m_message.SetByteType(i, type);
    }
    return true;
}

void EditorModel::setSelectedType(Type type)
{
    const int code = SerialEditorData::codeOf(type);
    if (code < SerialEditorData::codeOf(Type::Ascii) || code > SerialEditorData::codeOf(Type::Control))
        return;
    beginEdit();
    if (!applyType(type))
        return;
    recordStep();
    emit Changed();
    redraw();
}

void EditorModel::placeCursor(int position, bool extend)
{
    m_entryState = 0;
    setCursor(position);
    if (!extend)
        m_selectAnchor = int16(cursor());
    redraw();
}

// --- removing and inserting bytes -------------------------------------------

void EditorModel::removeBytes(int first, int last)
{
    const int count = shownByteCount();
    first = std::max(first, 0);
    last = std::min(last, count - 1);
    if (last < first)
        return;
    const int removed = last - first + 1;
    for (int i = first; i + removed < count; ++i) {
        m_message.SetByteValue(i, m_message.ByteValue(i + removed));
        m_message.SetByteType(i, m_message.ByteType(i + removed));
    }
    m_message.SetNumberOfBytesInMessage(int16(count - removed));
    setCursor(first);
    m_selectAnchor = int16(cursor());
}

bool EditorModel::removeRange(const std::optional<Range> &range)
{
    if (!range || range->size() <= 0)
        return false;
    removeBytes(range->first, range->last);
    return true;
}

bool EditorModel::makeRoom()
{
    const int count = m_message.NumberOfBytesInMessage();
    if (count <= 0) {
        m_message.SetNumberOfBytesInMessage(1);
        setCursor(0);
        return true;
    }
    if (count >= SerialEditorData::MaxBytes)
        return false;
    const int c = cursor();
    for (int i = count; i > c; --i) {
        m_message.SetByteValue(i, m_message.ByteValue(i - 1));
        m_message.SetByteType(i, m_message.ByteType(i - 1));
    }
    m_message.SetNumberOfBytesInMessage(int16(count + 1));
    return true;
}

bool EditorModel::insertAtCursor(int value, Type type)
{
    if (!makeRoom())
        return false;
    const int c = cursor();
    m_message.SetByteValue(c, int16(value));
    m_message.SetByteType(c, type);
    setCursor(c + 1);
    m_selectAnchor = int16(cursor());
    return true;
}

void EditorModel::finishTypedValue()
{
    m_entryState = 0;
}

// --- clipboard --------------------------------------------------------------

QString EditorModel::copyText(bool wholeMessage) const
{
    std::optional<Range> range;
    if (wholeMessage) {
        if (shownByteCount() > 0)
            range = Range{0, shownByteCount() - 1};
    } else {
        range = selectionRange();
    }
    if (!range)
        return {};
    return ClipboardCodec::encode(m_message, range->first, range->last);
}

QString EditorModel::cut()
{
    QString text = copyText(false);
    if (!m_allowEdit || text.isEmpty())
        return text;
    beginEdit();
    removeRange(selectionRange());
    recordStep();
    redraw();
    return text;
}

bool EditorModel::paste(const QString &text)
{
    // Every check comes before the first change, so a refused text leaves
    // the message as it was.
    const auto bytes = ClipboardCodec::decode(text);
    if (!bytes)
        return false;
    beginEdit();
    const auto isIgnore = [](const ClipboardCodec::Byte &byte) { return byte.type == Type::Ignore; };
    if (!m_message.CanDoIgnore() && std::any_of(bytes->begin(), bytes->end(), isIgnore))
        return false;
    // Bytes that find no room are dropped one by one; the rest go in.
    for (const ClipboardCodec::Byte &byte : *bytes)
        insertAtCursor(byte.value, byte.type);
    recordStep();
    redraw();
    return true;
}

// --- context-menu commands --------------------------------------------------

void EditorModel::insertControl(int value)
{
    if (!m_allowEdit || value < 0 || value > LastControlValue)
        return;
    beginEdit();
    finishTypedValue();
    removeRange(selectionRange());
    insertAtCursor(value, Type::Control);
    recordStep();
    redraw();
}

void EditorModel::insertIgnore()
{
    if (!m_allowEdit || !m_message.CanDoIgnore())
        return;
    // Deliberately outside the undo history, as this command has always been.
    finishTypedValue();
    removeRange(selectionRange());
    insertAtCursor(IgnoreValue, Type::Ignore);
    redraw();
}

void EditorModel::deleteSelection()
{
    if (!m_allowEdit)
        return;
    beginEdit();
    finishTypedValue();
    removeRange(selectionRange());
    m_selectAnchor = int16(cursor());
    recordStep();
    redraw();
}

// --- what the drawing shows -------------------------------------------------

SerialEditorData::Type EditorModel::displayType(int index) const
{
    return ByteDisplay::displayTypeOf(m_message, index, m_forcedDisplayMode);
}

QString EditorModel::cellText(int index) const
{
    return ByteDisplay::cellText(m_message, index, m_forcedDisplayMode, m_leadingZeros);
}

ByteDisplay::Rgb EditorModel::cellColour(int index) const
{
    return ByteDisplay::notationOf(displayType(index)).colour;
}

QString EditorModel::modeLabel() const
{
    return ByteDisplay::notationOf(m_forcedDisplayMode.value_or(m_message.CurrentMode())).label.toString();
}

QString EditorModel::positionLabel() const
{
    return ByteDisplay::positionLabel(m_message);
}
