#include "SerialEditor.h"

#include "SerialEditorAccessible.h"

#include <QAccessible>
#include <QActionGroup>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QScrollBar>
#include <QStyle>
#include <QStyleHints>
#include <QTimer>

#include <algorithm>
#include <cmath>

namespace {

constexpr int CaretWidth = 2;
constexpr int WidgetWidth = 290; // what the output panels give us
constexpr int WidgetHeight = 25;

QColor toColor(ByteDisplay::Rgb rgb)
{
    return QColor(rgb.red, rgb.green, rgb.blue);
}

// Modern fonts have no glyph for DEL (the stand-in of every byte below 32)
// nor for the few C1 codes; draw the house sign old terminals showed, so
// such a byte never turns into an invisible, zero-width cell.
QString drawable(QString text)
{
    for (QChar &c : text) {
        if (!c.isPrint())
            c = QChar(0x2302);
    }
    return text;
}

QString labelSample()
{
    return QStringLiteral("15/15");
}

QAction *addItem(QMenu *menu, const QString &name, const QString &caption)
{
    QAction *action = menu->addAction(caption);
    action->setObjectName(name);
    return action;
}

// A submenu; its item in the parent menu is named after it, with "Action".
QMenu *addSubmenu(QMenu *parent, const QString &name, const QString &caption)
{
    QMenu *menu = parent->addMenu(caption);
    menu->setObjectName(name);
    menu->menuAction()->setObjectName(name + QStringLiteral("Action"));
    return menu;
}

void addSeparator(QMenu *menu, const QString &name)
{
    menu->addSeparator()->setObjectName(name);
}

} // namespace

// The drawing surface: it takes the keys, the mouse and the focus, and hands
// everything to the editor.
class SerialEditorSurface : public QWidget
{
public:
    explicit SerialEditorSurface(SerialEditor *editor)
        : QWidget(editor)
        , m_editor(editor)
    {
        setObjectName(QStringLiteral("DisplayImage"));
        setFocusPolicy(Qt::StrongFocus);
        setAttribute(Qt::WA_OpaquePaintEvent);
        setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
        setCursor(Qt::IBeamCursor);
    }

    // The editor is going away; events that arrive while Qt takes the
    // widgets down (a focus change, a last paint) find nobody to serve.
    void detach() { m_editor = nullptr; }

protected:
    bool event(QEvent *event) override
    {
        if (m_editor && event->type() == QEvent::ShortcutOverride
            && m_editor->surfaceOverridesShortcut(static_cast<QKeyEvent *>(event))) {
            event->accept();
            return true;
        }
        // Tab reaches us before QWidget turns it into a focus move.
        if (m_editor && event->type() == QEvent::KeyPress
            && m_editor->surfaceTabKey(static_cast<QKeyEvent *>(event)))
            return true;
        return QWidget::event(event);
    }
    void paintEvent(QPaintEvent *event) override
    {
        if (m_editor)
            m_editor->paintSurface(event);
    }
    void keyPressEvent(QKeyEvent *event) override
    {
        if (m_editor)
            m_editor->surfaceKeyPress(event);
    }
    void mousePressEvent(QMouseEvent *event) override
    {
        if (m_editor)
            m_editor->surfaceMousePress(event);
    }
    void mouseMoveEvent(QMouseEvent *event) override
    {
        if (m_editor)
            m_editor->surfaceMouseMove(event);
    }
    void contextMenuEvent(QContextMenuEvent *event) override
    {
        if (m_editor)
            m_editor->surfaceContextMenu(event);
    }
    void focusInEvent(QFocusEvent *event) override
    {
        QWidget::focusInEvent(event);
        if (m_editor)
            m_editor->surfaceFocusChanged(true);
    }
    void focusOutEvent(QFocusEvent *event) override
    {
        QWidget::focusOutEvent(event);
        if (m_editor)
            m_editor->surfaceFocusChanged(false);
    }

private:
    SerialEditor *m_editor;
};

SerialEditor::SerialEditor(QWidget *parent)
    : QWidget(parent)
    , m_model(new EditorModel(this))
    , m_display(new SerialEditorSurface(this))
    , m_offsetBar(new QScrollBar(Qt::Horizontal, this))
    , m_byteMode(new QLabel(this))
    , m_byteCounts(new QLabel(this))
    , m_flashTimer(new QTimer(this))
{
    SerialEditorAccessible::installFactory();
    setFocusProxy(m_display);

    m_offsetBar->setObjectName(QStringLiteral("OffsetBar"));
    m_offsetBar->setFocusPolicy(Qt::NoFocus);
    m_offsetBar->setSingleStep(1);
    m_offsetBar->setEnabled(false);
    connect(m_offsetBar, &QScrollBar::valueChanged, m_display, qOverload<>(&QWidget::update));

    m_byteMode->setObjectName(QStringLiteral("ByteMode"));
    m_byteMode->setToolTip(QStringLiteral("Current byte mode"));
    m_byteMode->setText(ByteDisplay::notationOf(SerialEditorData::Type::Ascii).label.toString());
    m_byteCounts->setObjectName(QStringLiteral("ByteCounts"));
    m_byteCounts->setToolTip(QStringLiteral("current byte OF total number of bytes"));
    for (QLabel *label : {m_byteMode, m_byteCounts})
        label->setAlignment(Qt::AlignCenter);

    m_flashTimer->setObjectName(QStringLiteral("FlashTimer"));
    connect(m_flashTimer, &QTimer::timeout, this, [this] {
        m_caretOn = !m_caretOn;
        m_display->update();
    });

    connect(m_model, &EditorModel::Changed, this, &SerialEditor::Changed);
    connect(m_model, &EditorModel::Cancelled, this, &SerialEditor::Cancelled);
    connect(m_model, &EditorModel::messageEdited, this, &SerialEditor::messageEdited);
    connect(m_model, &EditorModel::redrawNeeded, this, &SerialEditor::Display);
    connect(m_model, &EditorModel::flashRequested, this, &SerialEditor::restartFlash);

    resize(sizeHint());
    layoutChildren();
    relayout();
}

SerialEditor::~SerialEditor()
{
    m_display->detach();
}

// --- public face --------------------------------------------------------------

void SerialEditor::SetToolTipText(const QString &text)
{
    m_display->setToolTip(text);
}

void SerialEditor::UseThisMessage(const SerialEditorData &message, bool allowEdit)
{
    m_model->UseThisMessage(message, allowEdit);
}

SerialEditorData &SerialEditor::ReturnCurrentMessage()
{
    return m_model->Message();
}

void SerialEditor::DisplayAsThisMode(int mode)
{
    m_model->DisplayAsThisMode(mode);
    m_display->setFocus();
}

void SerialEditor::Display()
{
    relayout();
    restartFlash();
    updateMenuState();
}

EditorModel &SerialEditor::model()
{
    return *m_model;
}

const EditorModel &SerialEditor::model() const
{
    return *m_model;
}

QSize SerialEditor::sizeHint() const
{
    const QFontMetrics fm(m_display->font());
    return {WidgetWidth, std::max(WidgetHeight, fm.height() + 10)};
}

QSize SerialEditor::minimumSizeHint() const
{
    const QFontMetrics fm(m_display->font());
    return {fm.horizontalAdvance(QLatin1Char('0')) * 8 + fm.horizontalAdvance(labelSample()),
            std::min(WidgetHeight, fm.height() + 6)};
}

// --- menu -------------------------------------------------------------------

QMenu *SerialEditor::contextMenu()
{
    // Built on first use: a window holds sixteen editors, and most of their
    // menus are never opened.
    if (!m_hiddenMenu) {
        m_hiddenMenu = new QMenu(QStringLiteral("Hidden"), this);
        buildMenu();
        updateMenuState();
    }
    return m_hiddenMenu;
}

void SerialEditor::buildMenu()
{
    m_hiddenMenu->setObjectName(QStringLiteral("HiddenMenu"));
    buildTypeMenu();
    addSeparator(m_hiddenMenu, QStringLiteral("MenuSpace1"));
    buildInsertItems();
    addSeparator(m_hiddenMenu, QStringLiteral("MenuSpace2"));
    buildEditItems();
    addSeparator(m_hiddenMenu, QStringLiteral("MenuSpace4"));
    buildDisplayItems();
    connect(m_hiddenMenu, &QMenu::aboutToShow, this, &SerialEditor::updateMenuState);
}

void SerialEditor::buildTypeMenu()
{
    m_modeMenu = addSubmenu(m_hiddenMenu, QStringLiteral("MenuByteMode"), QStringLiteral("Mode"));
    const std::array<QString, 5> captions = {QStringLiteral("&ASCII"), QStringLiteral("Decimal"),
                                             QStringLiteral("Hexadecimal"), QStringLiteral("Binary"),
                                             QStringLiteral("Control")};
    for (int i = 0; i < 5; ++i) {
        m_charType[i] = addItem(m_modeMenu, QStringLiteral("CharType%1").arg(i), captions[i]);
        connect(m_charType[i], &QAction::triggered, this,
                [this, i] { m_model->setSelectedType(SerialEditorData::Type(i)); });
    }
}

void SerialEditor::buildInsertItems()
{
    m_controlMenu =
        addSubmenu(m_hiddenMenu, QStringLiteral("MenuControlChar"), QStringLiteral("Insert Control"));
    for (int c = 0; c < 32; ++c) {
        m_controlChars[c] = addItem(m_controlMenu, QStringLiteral("MenuControlChars%1").arg(c),
                                    ByteDisplay::controlCharCaption(c));
        connect(m_controlChars[c], &QAction::triggered, this, [this, c] { m_model->insertControl(c); });
    }
    m_ignore = addItem(m_hiddenMenu, QStringLiteral("MenuIgnore"), QStringLiteral("Insert Ignore"));
    connect(m_ignore, &QAction::triggered, m_model, &EditorModel::insertIgnore);
}

void SerialEditor::buildEditItems()
{
    m_undo = addItem(m_hiddenMenu, QStringLiteral("MenuUndo"), QStringLiteral("Undo"));
    connect(m_undo, &QAction::triggered, m_model, &EditorModel::undo);
    m_redo = addItem(m_hiddenMenu, QStringLiteral("MenuRedo"), QStringLiteral("Redo"));
    connect(m_redo, &QAction::triggered, m_model, &EditorModel::redo);
    addSeparator(m_hiddenMenu, QStringLiteral("MenuSpace3"));

    m_copy = addItem(m_hiddenMenu, QStringLiteral("MenuCopy"), QStringLiteral("Copy"));
    connect(m_copy, &QAction::triggered, this, [this] { copyToClipboard(false); });
    m_copyAll = addItem(m_hiddenMenu, QStringLiteral("MenuCopyAll"), QStringLiteral("Copy All"));
    connect(m_copyAll, &QAction::triggered, this, [this] { copyToClipboard(true); });
    m_cut = addItem(m_hiddenMenu, QStringLiteral("MenuCut"), QStringLiteral("Cut"));
    connect(m_cut, &QAction::triggered, this, &SerialEditor::cutToClipboard);
    m_paste = addItem(m_hiddenMenu, QStringLiteral("MenuPaste"), QStringLiteral("Paste"));
    connect(m_paste, &QAction::triggered, this, &SerialEditor::pasteFromClipboard);
    m_delete = addItem(m_hiddenMenu, QStringLiteral("MenuDelete"), QStringLiteral("Delete"));
    connect(m_delete, &QAction::triggered, m_model, &EditorModel::deleteSelection);
}

void SerialEditor::buildDisplayItems()
{
    QMenu *displayMenu =
        addSubmenu(m_hiddenMenu, QStringLiteral("MenuDisplay"), QStringLiteral("Display as"));
    auto *displayGroup = new QActionGroup(displayMenu);
    const std::array<QString, 6> captions = {QStringLiteral("Individual"), QStringLiteral("ASCII"),
                                             QStringLiteral("Decimal"),    QStringLiteral("Hexadecimal"),
                                             QStringLiteral("Binary"),     QStringLiteral("Control")};
    for (int k = 0; k < 6; ++k) {
        m_displayForce[k] = addItem(displayMenu, QStringLiteral("MenuDisplayForce%1").arg(k), captions[k]);
        m_displayForce[k]->setCheckable(true);
        displayGroup->addAction(m_displayForce[k]);
        connect(m_displayForce[k], &QAction::triggered, this, [this, k] { DisplayAsThisMode(k - 1); });
    }

    m_zeros = addItem(m_hiddenMenu, QStringLiteral("MenuZeros"), QStringLiteral("Show Leading zeros"));
    m_zeros->setCheckable(true);
    connect(m_zeros, &QAction::triggered, this, [this](bool checked) {
        m_model->setLeadingZeros(checked);
        m_display->setFocus();
    });
}

void SerialEditor::updateMenuState()
{
    if (!m_hiddenMenu)
        return; // it takes the state when it is built
    const EditorModel &m = *m_model;
    const bool edit = m.AllowEdit();
    const auto range = m.selectionRange();
    const bool somethingSelected = range && range->size() > 0;
    // Types can be given while nothing is being typed and there is
    // something to act on; everything that changes bytes needs editing.
    const bool canSetType = edit && m.EntryState() == 0 && m.hasSelection();

    m_modeMenu->setEnabled(canSetType);
    for (QAction *action : m_charType)
        action->setEnabled(canSetType);
    m_controlMenu->setEnabled(edit);
    for (QAction *action : m_controlChars)
        action->setEnabled(edit);
    m_ignore->setEnabled(edit && m.Message().CanDoIgnore());
    m_undo->setEnabled(m.canUndo());
    m_redo->setEnabled(m.canRedo());
    m_copy->setEnabled(somethingSelected);
    m_copyAll->setEnabled(m.shownByteCount() > 0);
    m_cut->setEnabled(edit && somethingSelected);
    m_paste->setEnabled(edit);
    m_delete->setEnabled(edit && somethingSelected);

    // Item 0 is "Individual", then one item per type.
    const auto forced = m.ForcedDisplayMode();
    const int checked = forced ? SerialEditorData::codeOf(*forced) + 1 : 0;
    for (int k = 0; k < 6; ++k)
        m_displayForce[k]->setChecked(k == checked);
    m_zeros->setChecked(m.leadingZeros());
}

// --- geometry -----------------------------------------------------------------

void SerialEditor::layoutChildren()
{
    const int w = width();
    const int h = height();

    // Two small labels stacked at the right, as narrow as "15/15" allows.
    QFont labelFont = m_display->font();
    labelFont.setPixelSize(std::clamp(h / 2 - 2, 8, 12));
    if (labelFont != m_byteMode->font()) {
        m_byteMode->setFont(labelFont);
        m_byteCounts->setFont(labelFont);
    }
    const QFontMetrics lfm(labelFont);
    const int labelWidth = lfm.horizontalAdvance(labelSample()) + 6;
    m_byteMode->setGeometry(w - labelWidth, 0, labelWidth, h / 2);
    m_byteCounts->setGeometry(w - labelWidth, h / 2, labelWidth, h - h / 2);

    // The offset bar takes what the text line leaves, within reason: a thin
    // bar at the panels' 25 pixels, a normal one in taller editors.
    const QFontMetrics fm(m_display->font());
    const int styleExtent = style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, m_offsetBar);
    const int barHeight = std::clamp(h - fm.height() - 2, 5, std::max(5, styleExtent));
    const int drawWidth = std::max(0, w - labelWidth - 1);
    m_display->setGeometry(0, 0, drawWidth, std::max(0, h - barHeight));
    m_offsetBar->setGeometry(0, h - barHeight, drawWidth, barHeight);
}

void SerialEditor::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    layoutChildren();
    relayout();
}

void SerialEditor::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        layoutChildren();
        relayout();
    }
}

int SerialEditor::scrollOffset() const
{
    return m_offsetBar->isEnabled() ? m_offsetBar->value() * ScrollStep : 0;
}

void SerialEditor::relayout()
{
    updateLabels();
    // The cells are measured for the drawing. An editor out of sight does
    // that when it is shown, so that a window filling its editors before
    // it shows them measures each once.
    if (!isVisible()) {
        m_cellsStale = true;
        return;
    }
    m_cellsStale = false;
    const QFontMetrics fm(m_display->font());
    const int shown = m_model->shownByteCount();
    int x = 0;
    for (int i = 0; i < shown; ++i) {
        m_cellLeft[i] = x;
        x += fm.horizontalAdvance(drawnCell(i));
    }
    m_cellLeft[shown] = x;

    // Room for the cursor after the last cell belongs to the content too.
    const int content = TextMargin + x + CaretWidth + TextMargin;
    const int inner = m_display->width();
    if (content <= inner) {
        m_offsetBar->setRange(0, 0);
        m_offsetBar->setEnabled(false);
    } else {
        const int overflowSteps = (content - inner + ScrollStep - 1) / ScrollStep;
        m_offsetBar->setRange(0, overflowSteps);
        m_offsetBar->setPageStep(std::max(1, inner / ScrollStep));
        m_offsetBar->setEnabled(true);
    }
    keepCursorVisible();
    m_display->update();
    tellAccessibility();
}

void SerialEditor::updateLabels()
{
    const QString mode = m_model->modeLabel();
    if (!mode.isEmpty() && mode != m_byteMode->text())
        m_byteMode->setText(mode);
    const SerialEditorData::Type entryMode =
        m_model->ForcedDisplayMode().value_or(m_model->Message().CurrentMode());
    const QColor modeColour = toColor(ByteDisplay::notationOf(entryMode).colour);
    if (m_byteMode->palette().color(QPalette::WindowText) != modeColour) {
        QPalette modePalette = m_byteMode->palette();
        modePalette.setColor(QPalette::WindowText, modeColour);
        m_byteMode->setPalette(modePalette);
    }
    const QString position = m_model->positionLabel();
    if (position != m_byteCounts->text())
        m_byteCounts->setText(position);
}

void SerialEditor::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (m_cellsStale)
        relayout();
}

void SerialEditor::tellAccessibility()
{
    // A screen reader hears of the new text and of the cursor's move; with
    // none listening nothing is done.
    if (!QAccessible::isActive())
        return;
    QAccessibleInterface *shown = QAccessible::queryAccessibleInterface(m_display);
    QAccessibleTextInterface *text = shown ? shown->textInterface() : nullptr;
    if (!text)
        return;
    const QString now = shown->text(QAccessible::Value);
    if (now != m_toldText) {
        QAccessibleTextUpdateEvent changed(m_display, 0, m_toldText, now);
        QAccessible::updateAccessibility(&changed);
        m_toldText = now;
    }
    const int cursor = text->cursorPosition();
    if (cursor != m_toldCursor) {
        QAccessibleTextCursorEvent moved(m_display, cursor);
        QAccessible::updateAccessibility(&moved);
        m_toldCursor = cursor;
    }
}

void SerialEditor::keepCursorVisible()
{
    // Every change through the model (keys, clicks, edits) scrolls the
    // cursor into view, as any text field does; dragging the bar by hand
    // does not come through here, so the user can still look elsewhere.
    if (!m_offsetBar->isEnabled())
        return;
    const int x = caretPosition(m_model->cursor());
    const int offset = scrollOffset();
    const int inner = m_display->width();
    if (x < offset)
        m_offsetBar->setValue(x / ScrollStep);
    else if (TextMargin + x + CaretWidth > offset + inner)
        m_offsetBar->setValue((TextMargin + x + CaretWidth - inner + ScrollStep - 1) / ScrollStep);
}

QString SerialEditor::drawnCell(int index) const
{
    return drawable(m_model->cellText(index));
}

int SerialEditor::caretInCell(int index) const
{
    const QString cell = drawnCell(index);
    if (m_model->EntryState() != 0) {
        // While a value is typed the cursor follows its digits.
        return int(cell.size() - ByteDisplay::notationOf(m_model->displayType(index)).suffix.size());
    }
    // Before the byte's own text, after the separator it shares with the
    // byte to its left.
    return cell.startsWith(QLatin1Char(',')) ? 1 : 0;
}

int SerialEditor::caretPosition(int index) const
{
    const int shown = m_model->shownByteCount();
    if (index >= shown)
        return m_cellLeft[shown];
    const QFontMetrics fm(m_display->font());
    return m_cellLeft[index] + fm.horizontalAdvance(drawnCell(index).left(caretInCell(index)));
}

int SerialEditor::nearestBoundary(int x) const
{
    const int target = x - TextMargin + scrollOffset();
    int best = 0;
    int bestDistance = std::abs(caretPosition(0) - target);
    for (int i = 1; i <= m_model->shownByteCount(); ++i) {
        const int distance = std::abs(caretPosition(i) - target);
        if (distance < bestDistance) {
            best = i;
            bestDistance = distance;
        }
    }
    return best;
}

// --- drawing ------------------------------------------------------------------

void SerialEditor::paintSurface(QPaintEvent *)
{
    QPainter p(m_display);
    // The type colours are fixed, so the surface is always white behind them.
    p.fillRect(m_display->rect(), Qt::white);
    p.setFont(m_display->font());
    const QFontMetrics fm(m_display->font());
    // Message coordinates to drawing coordinates.
    const int offset = scrollOffset() - TextMargin;
    const int lineHeight = fm.height();
    const int top = std::max(0, (m_display->height() - lineHeight) / 2);
    const int baseline = top + fm.ascent();
    const int inner = m_display->width();
    const int cursorByte = m_model->cursor();

    for (int i = 0; i < m_model->shownByteCount(); ++i) {
        const int x = m_cellLeft[i];
        const int w = m_cellLeft[i + 1] - x;
        const bool visible = x - offset < inner && x + w - offset >= 1;
        if (!visible)
            continue;
        const QColor colour = toColor(m_model->cellColour(i));
        if (m_model->isSelected(i) && i != cursorByte) {
            p.fillRect(x - offset, top, w, lineHeight, colour);
            p.setPen(Qt::white);
        } else {
            p.setPen(colour);
        }
        p.drawText(x - offset, baseline, drawnCell(i));
    }

    if (m_caretOn && m_display->hasFocus()) {
        // The cursor shows what typing makes; Control and the others type nothing.
        const ByteDisplay::Notation &entry = ByteDisplay::notationOf(m_model->Message().CurrentMode());
        const QColor caret = entry.isNumber() ? toColor(entry.colour) : Qt::black;
        p.fillRect(caretPosition(cursorByte) - offset, top, CaretWidth, lineHeight, caret);
    }
}

void SerialEditor::restartFlash()
{
    // Any change shows the cursor at once and starts its blinking afresh.
    m_caretOn = true;
    const int interval = QGuiApplication::styleHints()->cursorFlashTime() / 2;
    if (m_display->hasFocus() && interval > 0)
        m_flashTimer->start(interval);
    m_display->update();
}

void SerialEditor::surfaceFocusChanged(bool focused)
{
    if (focused)
        restartFlash();
    else
        m_flashTimer->stop();
    m_display->update();
}

// --- input --------------------------------------------------------------------

bool SerialEditor::surfaceOverridesShortcut(QKeyEvent *event) const
{
    // Keys the editor uses win over shortcuts of the window around it.
    if (event->matches(QKeySequence::Copy) || event->matches(QKeySequence::Cut)
        || event->matches(QKeySequence::Paste))
        return true;
    const Qt::KeyboardModifiers mods = event->modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier);
    if (mods == Qt::ControlModifier) {
        switch (event->key()) {
        case Qt::Key_A:
        case Qt::Key_D:
        case Qt::Key_H:
        case Qt::Key_B:
        case Qt::Key_O:
        case Qt::Key_I:
        case Qt::Key_Z:
        case Qt::Key_Y:
        case Qt::Key_Left:
        case Qt::Key_Right: return true;
        default: return false;
        }
    }
    if (mods != Qt::NoModifier)
        return false;
    switch (event->key()) {
    case Qt::Key_Left:
    case Qt::Key_Right:
    case Qt::Key_Home:
    case Qt::Key_End:
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_Delete:
    case Qt::Key_Backspace:
    case Qt::Key_Insert: return true;
    default: return !event->text().isEmpty() && event->text().at(0).isPrint();
    }
}

bool SerialEditor::surfaceTabKey(QKeyEvent *event)
{
    const int key = event->key();
    if (key != Qt::Key_Tab && key != Qt::Key_Backtab)
        return false;
    // Ctrl+Tab and Ctrl+Shift+Tab leave the editor, as they leave Qt's own
    // editors that keep Tab: nobody is trapped here without a mouse.
    if (event->modifiers().testFlag(Qt::ControlModifier)) {
        focusNextPrevChild(key == Qt::Key_Tab && !event->modifiers().testFlag(Qt::ShiftModifier));
        return true;
    }
    // Tab and Shift+Tab are keys of the editor, which takes them and does
    // nothing, like Page Up and Page Down. A read-only editor has nothing
    // to type into and lets them move the focus on.
    if (!m_model->AllowEdit())
        return false;
    surfaceKeyPress(event);
    return true;
}

void SerialEditor::surfaceKeyPress(QKeyEvent *event)
{
    // The clipboard keys every user knows; the menu has the same commands.
    if (event->matches(QKeySequence::Copy)) {
        copyToClipboard(false);
        return;
    }
    if (event->matches(QKeySequence::Cut)) {
        if (m_model->AllowEdit())
            cutToClipboard();
        return;
    }
    if (event->matches(QKeySequence::Paste)) {
        if (m_model->AllowEdit())
            pasteFromClipboard();
        return;
    }

    bool consumed = m_model->keyDown(event->key(), event->modifiers());

    // The key-press half: characters only. Control characters are not
    // typed here (Backspace, Escape and Ctrl+letter arrive as text on some
    // platforms); a control byte is entered through "Insert Control". With
    // Ctrl held (but not AltGr, which is Ctrl+Alt on Windows) the text is
    // a shortcut's, not a character.
    const Qt::KeyboardModifiers mods = event->modifiers();
    const bool shortcutText = mods.testFlag(Qt::ControlModifier) && !mods.testFlag(Qt::AltModifier);
    if (!shortcutText) {
        const QString text = event->text();
        for (const QChar c : text) {
            if (c.category() == QChar::Other_Control)
                continue;
            m_model->keyPress(c.unicode());
            consumed = consumed || m_model->AllowEdit();
        }
    }
    if (!consumed)
        event->ignore();
}

void SerialEditor::surfaceMousePress(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    m_display->setFocus(Qt::MouseFocusReason);
    // Shift+click extends the selection the way Shift+arrow does, and so
    // only where Shift selects at all: in an editor that may be changed.
    const bool extend = event->modifiers().testFlag(Qt::ShiftModifier) && m_model->AllowEdit();
    m_model->placeCursor(nearestBoundary(qRound(event->position().x())), extend);
}

void SerialEditor::surfaceMouseMove(QMouseEvent *event)
{
    // Dragging selects, read-only or not: what can be seen can be copied.
    if (event->buttons().testFlag(Qt::LeftButton))
        m_model->placeCursor(nearestBoundary(qRound(event->position().x())), true);
}

void SerialEditor::surfaceContextMenu(QContextMenuEvent *event)
{
    QMenu *menu = contextMenu();
    updateMenuState();
    menu->popup(event->globalPos());
}

// --- clipboard ----------------------------------------------------------------

void SerialEditor::copyToClipboard(bool wholeMessage)
{
    // Cleared first: copying nothing leaves the clipboard empty.
    QClipboard *clipboard = QGuiApplication::clipboard();
    clipboard->clear();
    const QString text = m_model->copyText(wholeMessage);
    if (!text.isEmpty())
        clipboard->setText(text);
}

void SerialEditor::cutToClipboard()
{
    QClipboard *clipboard = QGuiApplication::clipboard();
    clipboard->clear();
    const QString text = m_model->cut();
    if (!text.isEmpty())
        clipboard->setText(text);
}

void SerialEditor::pasteFromClipboard()
{
    m_model->paste(QGuiApplication::clipboard()->text());
}
