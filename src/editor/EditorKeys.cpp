// The keyboard half of EditorModel: the key-down step as a table of small
// handlers, the key-press step and the typing of a value digit by digit.
#include "EditorModel.h"

#include <algorithm>

using Type = SerialEditorData::Type;

// One handler per key of the key-down step. A handler says what its key
// did; keyDown() then records the undo step, raises the signals and
// redraws, in that order, for all of them alike.
struct EditorModel::KeyHandlers {
    struct Keys {
        bool ctrl = false;
        bool shift = false; // only in an editor that may be changed: a read-only one never selects
    };
    struct Outcome {
        bool changed = false;
        bool cancelled = false;
        bool redraw = false;
        bool fromHistory = false; // undo and redo: they restore a step and must not record one
    };
    using Handler = Outcome (*)(EditorModel &, Keys);
    struct Binding {
        int key;
        bool needsEdit; // nothing happens in a read-only editor
        Handler handler;
    };
    static constexpr bool ReadOnlyToo = false;
    static constexpr bool EditOnly = true;

    // Left and Right: Shift extends the selection, Ctrl jumps over a run of
    // bytes of one type.
    template <void (EditorModel::*Move)(bool, bool)>
    static Outcome move(EditorModel &m, Keys keys)
    {
        m.m_keyHandled = true;
        (m.*Move)(keys.shift || keys.ctrl, keys.ctrl);
        if (!keys.shift)
            m.m_selectAnchor = int16(m.cursor());
        return {.redraw = true};
    }

    static Outcome home(EditorModel &m, Keys keys)
    {
        m.m_keyHandled = true;
        m.setCursor(0);
        m.m_entryState = 0;
        if (!keys.shift)
            m.m_selectAnchor = 0;
        return {.redraw = true};
    }

    static Outcome end(EditorModel &m, Keys keys)
    {
        m.m_keyHandled = true;
        m.setCursor(m.m_message.NumberOfBytesInMessage());
        m.m_entryState = 0;
        if (!keys.shift)
            m.m_selectAnchor = int16(m.cursor());
        return {.redraw = true};
    }

    template <int Delta>
    static Outcome step(EditorModel &m, Keys)
    {
        m.m_keyHandled = true;
        const bool stepped = m.stepValue(Delta);
        return {.changed = stepped, .redraw = stepped};
    }

    static Outcome deleteKey(EditorModel &m, Keys)
    {
        if (m.m_entryState != 0)
            m.abandonTypedValue(); // Delete throws away the value being typed
        else if (!m.removeRange(m.selectionRange()) && m.cursor() < m.shownByteCount())
            m.removeBytes(m.cursor(), m.cursor());
        m.m_keyHandled = true;
        m.m_selectAnchor = int16(m.cursor());
        return {.changed = true, .redraw = true};
    }

    // Backspace leaves KeyHandled unset, as it always has: the widget never
    // passes its control character on as a key-press.
    static Outcome backspace(EditorModel &m, Keys)
    {
        if (m.m_entryState != 0)
            m.deleteTypedDigit();
        else if (!m.removeRange(m.selectionRange()) && m.cursor() > 0)
            m.removeBytes(m.cursor() - 1, m.cursor() - 1);
        m.m_selectAnchor = int16(m.cursor());
        return {.changed = true, .redraw = true};
    }

    // Ctrl+A, D, H, B: the selected bytes take the type, and typing goes on in
    // it. Only ASCII reports a change; the others have always been silent, and
    // the panels around us rely on neither.
    template <Type NewType>
    static Outcome entryType(EditorModel &m, Keys keys)
    {
        if (!keys.ctrl || m.m_forcedDisplayMode)
            return {};
        m.applyType(NewType);
        m.m_message.SetCurrentMode(NewType);
        emit m.flashRequested();
        return {.changed = NewType == Type::Ascii, .redraw = true};
    }

    // Ctrl+O: Control is a type for existing bytes only. Nothing is typed as a
    // control character, so the entry mode stays.
    static Outcome controlType(EditorModel &m, Keys keys)
    {
        if (!keys.ctrl || m.m_forcedDisplayMode)
            return {};
        m.applyType(Type::Control);
        return {.redraw = true};
    }

    static Outcome ignore(EditorModel &m, Keys keys)
    {
        if (!keys.ctrl || m.m_entryState != 0)
            return {};
        m.m_keyHandled = true;
        if (m.m_message.CanDoIgnore()) {
            m.removeRange(m.selectionRange());
            m.insertAtCursor(IgnoreValue, Type::Ignore);
        }
        return {.redraw = true};
    }

    // The usual undo and redo keys: Ctrl+Z; Ctrl+Y or Ctrl+Shift+Z.
    template <bool Undo>
    static Outcome history(EditorModel &m, Keys keys)
    {
        if (!keys.ctrl)
            return {};
        m.m_keyHandled = true;
        if (Undo && !keys.shift)
            m.undo();
        else
            m.redo();
        return {.fromHistory = true};
    }

    // Insert toggles the select flag: without it the byte at the cursor counts
    // as selected, which is how a single byte is given a type.
    static Outcome insertKey(EditorModel &m, Keys keys)
    {
        if (keys.ctrl || keys.shift)
            return {};
        m.m_selectFlag = !m.m_selectFlag;
        m.m_keyHandled = true;
        m.m_selectAnchor = int16(m.cursor());
        return {.redraw = true};
    }

    // Escape cancels and Enter reports the change; keys that would move the
    // focus or page through a list stay here and do nothing.
    template <bool ReportsChange, bool Cancels>
    static Outcome consume(EditorModel &m, Keys)
    {
        m.m_keyHandled = true;
        return {.changed = ReportsChange, .cancelled = Cancels};
    }

    static const Binding *find(int key);
};

const EditorModel::KeyHandlers::Binding *EditorModel::KeyHandlers::find(int key)
{
    // clang-format off
    static constexpr Binding Bindings[] = {
        {Qt::Key_Left,      ReadOnlyToo, move<&EditorModel::moveLeft>},
        {Qt::Key_Right,     ReadOnlyToo, move<&EditorModel::moveRight>},
        {Qt::Key_Home,      ReadOnlyToo, home},
        {Qt::Key_End,       ReadOnlyToo, end},
        {Qt::Key_Up,        EditOnly,    step<1>},
        {Qt::Key_Down,      EditOnly,    step<-1>},
        {Qt::Key_Delete,    EditOnly,    deleteKey},
        {Qt::Key_Backspace, EditOnly,    backspace},
        {Qt::Key_A,         EditOnly,    entryType<Type::Ascii>},
        {Qt::Key_D,         EditOnly,    entryType<Type::Decimal>},
        {Qt::Key_H,         EditOnly,    entryType<Type::Hexadecimal>},
        {Qt::Key_B,         EditOnly,    entryType<Type::Binary>},
        {Qt::Key_O,         EditOnly,    controlType},
        {Qt::Key_I,         EditOnly,    ignore},
        {Qt::Key_Z,         EditOnly,    history<true>},
        {Qt::Key_Y,         EditOnly,    history<false>},
        {Qt::Key_Insert,    EditOnly,    insertKey},
        {Qt::Key_Escape,    EditOnly,    consume<false, true>},
        {Qt::Key_Return,    EditOnly,    consume<true, false>},
        {Qt::Key_Enter,     EditOnly,    consume<true, false>},
        {Qt::Key_Tab,       EditOnly,    consume<false, false>},
        {Qt::Key_Backtab,   EditOnly,    consume<false, false>},
        {Qt::Key_PageUp,    EditOnly,    consume<false, false>},
        {Qt::Key_PageDown,  EditOnly,    consume<false, false>},
    };
    // clang-format on
    const auto *found = std::find_if(std::begin(Bindings), std::end(Bindings),
                                     [key](const Binding &binding) { return binding.key == key; });
    return found == std::end(Bindings) ? nullptr : found;
}

bool EditorModel::keyDown(int key, Qt::KeyboardModifiers modifiers)
{
    beginEdit();
    m_keyHandled = false;
    const KeyHandlers::Keys keys{modifiers.testFlag(Qt::ControlModifier),
                                 modifiers.testFlag(Qt::ShiftModifier) && m_allowEdit};
    const KeyHandlers::Binding *binding = KeyHandlers::find(key);
    KeyHandlers::Outcome outcome;
    if (binding && (m_allowEdit || !binding->needsEdit))
        outcome = binding->handler(*this, keys);
    if (outcome.fromHistory)
        return m_keyHandled;

    // Recording comes before the signals: a listener may load another
    // message into us, and that must not end up in the fresh history.
    if (m_allowEdit)
        recordStep();
    if (outcome.cancelled)
        emit Cancelled();
    if (outcome.changed)
        emit Changed();
    if (outcome.redraw)
        redraw();
    return m_keyHandled;
}

// --- moving and stepping ----------------------------------------------------

void EditorModel::moveLeft(bool extend, bool byRun)
{
    const int c = cursor();
    if (m_entryState != 0) {
        // The cursor already stands before the byte being typed, so leaving
        // the value to the left only ends the typing.
        finishTypedValue();
        return;
    }
    // Without Shift or Ctrl a selection collapses onto its left edge, as it
    // does in any text field.
    if (!extend && c != anchor()) {
        setCursor(std::min(c, anchor()));
        return;
    }
    if (c == 0)
        return;
    int to = c - 1;
    if (byRun) {
        // Ctrl jumps to the start of the run of bytes shown in one type, the
        // way Ctrl+Left jumps over a word.
        const Type type = displayType(to);
        while (to > 0 && displayType(to - 1) == type)
            --to;
    }
    setCursor(to);
}

void EditorModel::moveRight(bool extend, bool byRun)
{
    const int c = cursor();
    if (m_entryState != 0) {
        // Done with the typed value: step past it, ready for the next byte.
        finishTypedValue();
        setCursor(c + 1);
        return;
    }
    if (!extend && c != anchor()) {
        setCursor(std::max(c, anchor()));
        return;
    }
    int to = c + 1;
    if (byRun && c < shownByteCount()) {
        const Type type = displayType(c);
        while (to < shownByteCount() && displayType(to) == type)
            ++to;
    }
    setCursor(to);
}

bool EditorModel::stepValue(int delta)
{
    // Stepping acts on the byte at the cursor only, never on a selection.
    if (hasSelection())
        return false;
    m_selectAnchor = int16(cursor());
    const int c = cursor();
    if (c >= shownByteCount())
        return true;
    const bool control = m_message.ByteType(c) == Type::Control;
    int value = m_message.ByteValue(c) + delta;
    // Only control bytes wrap upwards: Up on 255 gives 256, which the
    // drawing shows as out of range ("100h") and the image builder refuses,
    // so the unit never receives a silently wrapped value.
    if (delta > 0 && control && value > LastControlValue)
        value = 0;
    if (value < 0)
        value = control ? LastControlValue : ByteValueLimit - 1;
    m_message.SetByteValue(c, int16(value));
    return true;
}

// --- typing -----------------------------------------------------------------

void EditorModel::keyPress(char16_t character)
{
    if (m_keyHandled || !m_allowEdit)
        return;
    beginEdit();
    if (m_entryState != 0)
        typeDigit(character);
    else
        startTypedByte(character);
    recordStep();
    emit Changed();
    redraw();
}

const ByteDisplay::Notation *EditorModel::typedNotation()
{
    const int c = cursor();
    const ByteDisplay::Notation &notation =
        ByteDisplay::notationOf(c < shownByteCount() ? m_message.ByteType(c) : Type::Ascii);
    if (notation.isNumber())
        return &notation;
    // The byte being typed has gone (or changed type) under us.
    m_entryState = 0;
    return nullptr;
}

void EditorModel::typeDigit(char16_t character)
{
    const ByteDisplay::Notation *notation = typedNotation();
    if (!notation)
        return;
    const int c = cursor();
    const QString digits = notation->text(m_message.ByteValue(c));
    const auto value = notation->value(digits.left(m_entryState - 1) + QChar(character));
    // A digit that would take the value past a byte is refused; the value
    // stays as it was and the user can still type Backspace or move on.
    if (!value || *value >= ByteValueLimit)
        return;
    m_message.SetByteValue(c, int16(*value));
    m_entryState = int16(notation->text(*value).size() + 1);
}

void EditorModel::startTypedByte(char16_t character)
{
    const Type mode = m_message.CurrentMode();
    const ByteDisplay::Notation &notation = ByteDisplay::notationOf(mode);
    const auto value = notation.value(QStringView(&character, 1));
    if (mode == Type::Ascii) {
        if (character != u'\t' && character != u'\r' && value)
            insertAtCursor(*value, Type::Ascii);
        return;
    }
    if (!notation.isNumber() || !value)
        return;
    removeRange(selectionRange());
    if (!makeRoom())
        return;
    // The cursor stays on the new byte while its value is being typed.
    const int c = cursor();
    m_message.SetByteValue(c, int16(*value));
    m_message.SetByteType(c, mode);
    m_selectAnchor = int16(c);
    m_entryState = int16(notation.text(*value).size() + 1);
}

void EditorModel::deleteTypedDigit()
{
    const ByteDisplay::Notation *notation = typedNotation();
    if (!notation)
        return;
    const int c = cursor();
    QString digits = notation->text(m_message.ByteValue(c)).left(m_entryState - 1);
    digits.chop(1);
    if (digits.isEmpty()) {
        // Taking back the only digit takes back the byte it started.
        abandonTypedValue();
        return;
    }
    m_message.SetByteValue(c, int16(notation->value(digits).value_or(0)));
    m_entryState = int16(digits.size() + 1);
}

void EditorModel::abandonTypedValue()
{
    removeBytes(cursor(), cursor());
    m_entryState = 0;
}
