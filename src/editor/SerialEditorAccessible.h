#pragma once

#include <QAccessibleWidget>

class SerialEditor;

// What a screen reader learns of a code editor, which paints its bytes
// itself and so shows nothing to assistive technology on its own: an
// editable text (read-only in a read-only editor) named after the code it
// holds ("Serial code for ON, Output 1": the editor's accessible name,
// else what names the editor in its dialog), whose text is the code as
// drawn ("LIGHTS ON,CR"), with the cursor and the selection at the
// characters where they are drawn.
//
// It serves the drawing surface, which has the focus; SerialEditor
// installs the factory before its first surface exists.
class SerialEditorAccessible : public QAccessibleWidget, public QAccessibleTextInterface
{
public:
    explicit SerialEditorAccessible(QWidget *surface);

    // Once per program; SerialEditor does it.
    static void installFactory();

    void *interface_cast(QAccessible::InterfaceType type) override;
    QAccessible::State state() const override;
    QString text(QAccessible::Text type) const override;

    // QAccessibleTextInterface, in characters of the drawn text.
    void selection(int selectionIndex, int *startOffset, int *endOffset) const override;
    int selectionCount() const override;
    void addSelection(int startOffset, int endOffset) override;
    void removeSelection(int selectionIndex) override;
    void setSelection(int selectionIndex, int startOffset, int endOffset) override;
    int cursorPosition() const override;
    void setCursorPosition(int position) override;
    QString text(int startOffset, int endOffset) const override;
    int characterCount() const override;
    QRect characterRect(int offset) const override;
    int offsetAtPoint(const QPoint &point) const override;
    void scrollToSubstring(int startIndex, int endIndex) override;
    QString attributes(int offset, int *startOffset, int *endOffset) const override;

private:
    class Drawing;

    // Null while the editor is being taken down.
    SerialEditor *editor() const;
};
