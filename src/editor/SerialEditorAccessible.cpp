#include "SerialEditorAccessible.h"

#include "SerialEditor.h"

#include <QScrollBar>

#include <algorithm>
#include <cstdlib>
#include <tuple>

// The code as drawn, one cell after the other, with where each cell starts
// in it; the editor's cells, cursor and selection in characters. It reads
// the editor's private parts as the painting does.
class SerialEditorAccessible::Drawing
{
public:
    explicit Drawing(const SerialEditor &editor)
        : m_editor(editor)
    {
        const int shown = editor.m_model->shownByteCount();
        for (int i = 0; i < shown; ++i) {
            m_starts << int(m_text.size());
            m_text += editor.drawnCell(i);
        }
        m_starts << int(m_text.size());
    }

    const QString &text() const { return m_text; }
    int byteCount() const { return int(m_starts.size()) - 1; }

    // Where the cursor stands when it is before byte `index` (after the
    // last byte for the count).
    int caretOffset(int index) const
    {
        if (index >= byteCount())
            return int(m_text.size());
        return m_starts[index] + m_editor.caretInCell(index);
    }

    // The byte boundary nearest to a character offset.
    int byteAt(int offset) const
    {
        int best = 0;
        for (int i = 1; i <= byteCount(); ++i) {
            if (std::abs(caretOffset(i) - offset) < std::abs(caretOffset(best) - offset))
                best = i;
        }
        return best;
    }

    // The cells drawn selected, as characters; empty when none is.
    std::pair<int, int> selection() const
    {
        const EditorModel &model = *m_editor.m_model;
        int first = -1;
        int last = -1;
        for (int i = 0; i < byteCount(); ++i) {
            if (model.isSelected(i) && i != model.cursor()) {
                first = first < 0 ? i : first;
                last = i;
            }
        }
        if (first < 0)
            return {0, 0};
        return {m_starts[first], m_starts[last + 1]};
    }

    // The character's box on the surface.
    QRect characterRect(int offset) const
    {
        const auto after = std::upper_bound(m_starts.begin(), m_starts.end(), offset);
        const int byte = int(after - m_starts.begin()) - 1;
        if (offset < 0 || byte >= byteCount())
            return {};
        const QWidget *surface = m_editor.focusProxy();
        const QFontMetrics fm(surface->font());
        const QString cell = m_editor.drawnCell(byte);
        const int inCell = offset - m_starts[byte];
        const int x = SerialEditor::TextMargin - m_editor.scrollOffset() + m_editor.m_cellLeft[byte]
                      + fm.horizontalAdvance(cell.left(inCell));
        return {x, 0, fm.horizontalAdvance(cell.at(inCell)), surface->height()};
    }

private:
    const SerialEditor &m_editor;
    QString m_text;
    QList<int> m_starts;
};

SerialEditorAccessible::SerialEditorAccessible(QWidget *surface)
    : QAccessibleWidget(surface, QAccessible::EditableText)
{}

void SerialEditorAccessible::installFactory()
{
    static const bool installed = [] {
        QAccessible::installFactory([](const QString &, QObject *object) -> QAccessibleInterface * {
            // Only the drawing surface is ours: the editor's focus proxy.
            auto *surface = qobject_cast<QWidget *>(object);
            const auto *editor = surface ? qobject_cast<SerialEditor *>(surface->parentWidget()) : nullptr;
            if (!editor || editor->focusProxy() != surface)
                return nullptr;
            return new SerialEditorAccessible(surface);
        });
        return true;
    }();
    Q_UNUSED(installed)
}

SerialEditor *SerialEditorAccessible::editor() const
{
    // While Qt takes the editor down its children outlive it: the cast
    // then fails, and we answer as a plain widget.
    auto *e = qobject_cast<SerialEditor *>(widget()->parentWidget());
    return e && e->focusProxy() == widget() ? e : nullptr;
}

void *SerialEditorAccessible::interface_cast(QAccessible::InterfaceType type)
{
    if (type == QAccessible::TextInterface)
        return static_cast<QAccessibleTextInterface *>(this);
    return QAccessibleWidget::interface_cast(type);
}

QAccessible::State SerialEditorAccessible::state() const
{
    QAccessible::State s = QAccessibleWidget::state();
    s.editable = true;
    s.selectableText = true;
    if (const SerialEditor *e = editor())
        s.readOnly = !e->m_model->AllowEdit();
    return s;
}

QString SerialEditorAccessible::text(QAccessible::Text type) const
{
    const SerialEditor *e = editor();
    if (!e)
        return QAccessibleWidget::text(type);
    if (type == QAccessible::Value)
        return Drawing(*e).text();
    if (type != QAccessible::Name)
        return QAccessibleWidget::text(type); // the tooltip is the description
    // The name the editor was given, else what names it where it stands
    // (the title of its frame), else its tooltip.
    if (!e->accessibleName().isEmpty())
        return e->accessibleName();
    QAccessibleInterface *around = QAccessible::queryAccessibleInterface(const_cast<SerialEditor *>(e));
    const QString name = around ? around->text(QAccessible::Name) : QString();
    return name.isEmpty() ? widget()->toolTip() : name;
}

void SerialEditorAccessible::selection(int selectionIndex, int *startOffset, int *endOffset) const
{
    *startOffset = *endOffset = 0;
    if (const SerialEditor *e = editor(); e && selectionIndex == 0)
        std::tie(*startOffset, *endOffset) = Drawing(*e).selection();
}

int SerialEditorAccessible::selectionCount() const
{
    const SerialEditor *e = editor();
    if (!e)
        return 0;
    const auto [start, end] = Drawing(*e).selection();
    return start < end ? 1 : 0;
}

void SerialEditorAccessible::addSelection(int startOffset, int endOffset)
{
    setSelection(0, startOffset, endOffset);
}

void SerialEditorAccessible::removeSelection(int selectionIndex)
{
    if (SerialEditor *e = editor(); e && selectionIndex == 0)
        e->m_model->placeCursor(e->m_model->cursor(), false);
}

void SerialEditorAccessible::setSelection(int selectionIndex, int startOffset, int endOffset)
{
    SerialEditor *e = editor();
    if (!e || selectionIndex != 0)
        return;
    const Drawing drawing(*e);
    e->m_model->placeCursor(drawing.byteAt(startOffset), false);
    e->m_model->placeCursor(drawing.byteAt(endOffset), true);
}

int SerialEditorAccessible::cursorPosition() const
{
    const SerialEditor *e = editor();
    return e ? Drawing(*e).caretOffset(e->m_model->cursor()) : 0;
}

void SerialEditorAccessible::setCursorPosition(int position)
{
    if (SerialEditor *e = editor())
        e->m_model->placeCursor(Drawing(*e).byteAt(position), false);
}

QString SerialEditorAccessible::text(int startOffset, int endOffset) const
{
    const SerialEditor *e = editor();
    if (!e || startOffset > endOffset)
        return {};
    return Drawing(*e).text().mid(startOffset, endOffset - startOffset);
}

int SerialEditorAccessible::characterCount() const
{
    const SerialEditor *e = editor();
    return e ? int(Drawing(*e).text().size()) : 0;
}

QRect SerialEditorAccessible::characterRect(int offset) const
{
    const SerialEditor *e = editor();
    if (!e)
        return {};
    const QRect box = Drawing(*e).characterRect(offset);
    return box.isNull() ? box : QRect(widget()->mapToGlobal(box.topLeft()), box.size());
}

int SerialEditorAccessible::offsetAtPoint(const QPoint &point) const
{
    const SerialEditor *e = editor();
    if (!e)
        return -1;
    const Drawing drawing(*e);
    const QPoint at = widget()->mapFromGlobal(point);
    for (int offset = 0; offset < drawing.text().size(); ++offset) {
        const QRect box = drawing.characterRect(offset);
        if (at.x() >= box.left() && at.x() <= box.right())
            return offset;
    }
    return -1;
}

void SerialEditorAccessible::scrollToSubstring(int startIndex, int)
{
    // The start is enough: a code is one short line.
    SerialEditor *e = editor();
    if (!e || !e->m_offsetBar->isEnabled())
        return;
    const int x = Drawing(*e).characterRect(startIndex).left() + e->scrollOffset() - SerialEditor::TextMargin;
    e->m_offsetBar->setValue(std::max(0, x) / SerialEditor::ScrollStep);
}

QString SerialEditorAccessible::attributes(int offset, int *startOffset, int *endOffset) const
{
    // The colours of the byte types are not told as text attributes.
    *startOffset = *endOffset = offset;
    return {};
}
