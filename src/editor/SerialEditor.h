#pragma once

#include "EditorModel.h"
#include "SerialEditorData.h"

#include <QWidget>

#include <array>

class QAction;
class QLabel;
class QMenu;
class QScrollBar;
class QTimer;
class SerialEditorSurface;

// Shows and edits one serial message of at most 14 bytes: one line of
// coloured byte cells, the entry mode and the cursor position at the right,
// a right-click menu. All editing is done by EditorModel; this widget
// paints it and turns Qt's events into model calls.
//
// SetToolTipText, UseThisMessage, ReturnCurrentMessage, DisplayAsThisMode,
// Display, the signals Changed and Cancelled, and the object names of the
// parts (DisplayImage, OffsetBar, ByteMode, ByteCounts, FlashTimer,
// HiddenMenu and its Menu... items) are the names the unit's original
// configuration tool used. They keep that spelling, against our
// lowerCamelCase habit, so that the panels and dialogs that hold an editor
// read like the tool its users know, and tests find the parts by them.
class SerialEditor : public QWidget
{
    Q_OBJECT

public:
    // Blank pixels left of the first cell, so the cursor at the start is
    // not lost against the frame.
    static constexpr int TextMargin = 3;

    explicit SerialEditor(QWidget *parent = nullptr);
    ~SerialEditor() override;

    void SetToolTipText(const QString &text);
    void UseThisMessage(const SerialEditorData &message, bool allowEdit);
    // The editor's own message, not a copy: keep it with SetAllDataTo().
    SerialEditorData &ReturnCurrentMessage();
    void DisplayAsThisMode(int mode); // -1 (each byte in its own type) .. 4
    void Display();                   // redraw
    EditorModel &model();
    const EditorModel &model() const;
    // The right-click menu, HiddenMenu, built on first use.
    QMenu *contextMenu();

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

signals:
    void Changed();
    void Cancelled();
    // Any edit of the bytes, also those that raise no Changed (EditorModel).
    void messageEdited();

protected:
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    friend class SerialEditorSurface;
    friend class SerialEditorAccessible;

    static constexpr int ScrollStep = 8; // pixels per step of the offset bar

    void buildMenu();
    void buildTypeMenu();
    void buildInsertItems();
    void buildEditItems();
    void buildDisplayItems();
    void updateMenuState();
    void layoutChildren();
    void relayout();
    void updateLabels();
    void keepCursorVisible();
    int scrollOffset() const;
    // A cell as painted, and how many of its characters stand before the
    // cursor when the cursor is before that byte.
    QString drawnCell(int index) const;
    int caretInCell(int index) const;
    int caretPosition(int index) const;
    int nearestBoundary(int x) const;
    void restartFlash();
    void tellAccessibility();

    void paintSurface(QPaintEvent *event);
    void surfaceKeyPress(QKeyEvent *event);
    bool surfaceTabKey(QKeyEvent *event);
    bool surfaceOverridesShortcut(QKeyEvent *event) const;
    void surfaceMousePress(QMouseEvent *event);
    void surfaceMouseMove(QMouseEvent *event);
    void surfaceContextMenu(QContextMenuEvent *event);
    void surfaceFocusChanged(bool focused);

    void copyToClipboard(bool wholeMessage);
    void cutToClipboard();
    void pasteFromClipboard();

    EditorModel *m_model;
    SerialEditorSurface *m_display;
    QScrollBar *m_offsetBar;
    QLabel *m_byteMode;
    QLabel *m_byteCounts;
    QTimer *m_flashTimer;
    QMenu *m_hiddenMenu = nullptr;
    QMenu *m_modeMenu = nullptr;
    QMenu *m_controlMenu = nullptr;
    std::array<QAction *, 5> m_charType{};
    std::array<QAction *, 32> m_controlChars{};
    std::array<QAction *, 6> m_displayForce{};
    QAction *m_ignore = nullptr;
    QAction *m_undo = nullptr;
    QAction *m_redo = nullptr;
    QAction *m_copy = nullptr;
    QAction *m_copyAll = nullptr;
    QAction *m_cut = nullptr;
    QAction *m_paste = nullptr;
    QAction *m_delete = nullptr;
    QAction *m_zeros = nullptr;

    // Left edge of every cell in message coordinates, plus the end of the
    // last one; a cell's width is the text width of its string.
    std::array<int, SerialEditorData::SlotCount + 1> m_cellLeft{};
    bool m_caretOn = true;
    bool m_cellsStale = false; // m_cellLeft is waiting for the editor to be shown
    // What assistive technology was last told.
    QString m_toldText;
    int m_toldCursor = -1;
};
