#include "RightHandToolbar.h"

#include "Twips.h"

#include <QPainter>
#include <QToolButton>

#include <cmath>

using tavo::twipsToPixels;

RightHandToolbar::RightHandToolbar(QWidget *parent)
    : QWidget(parent)
{
    // Element 0 of each kind exists from the start, hidden until used.
    m_command1 << newButton(true, 0);
    m_check1 << newButton(false, 0);
    setFixedHeight(twipsToPixels(BarHeight));
}

QSize RightHandToolbar::sizeHint() const
{
    return {twipsToPixels(ButtonWidth) * int(m_records.size() + 2), twipsToPixels(BarHeight)};
}

QToolButton *RightHandToolbar::newButton(bool push, int index)
{
    auto *b = new QToolButton(this);
    b->setObjectName(push ? QStringLiteral("Command1") : QStringLiteral("Check1"));
    b->setCheckable(!push);
    b->setAutoRaise(false);
    // Reached with Tab after the panels (Ctrl+Tab leaves a code editor),
    // so that no command needs the mouse; a click does not take the focus.
    b->setFocusPolicy(Qt::TabFocus);
    b->setIconSize(QSize(16, 16));
    b->setGeometry(0, twipsToPixels(ButtonTop), twipsToPixels(ButtonWidth), twipsToPixels(ButtonHeight));
    b->setProperty("controlIndex", index);
    b->hide();
    connect(b, &QToolButton::clicked, this, [this, b] {
        // The button's Tag names its record; records and buttons are
        // paired up again after ClearAll, so look it up at click time.
        bool ok = false;
        const int record = b->property("Tag").toString().toInt(&ok);
        if (ok && record >= 0 && record < m_records.size())
            emit ButtonClicked(m_records.at(record).key);
    });
    return b;
}

void RightHandToolbar::AddButton(const QString &key, const QIcon &picture, ButtonGroup group,
                                 const QString &tooltip, bool push)
{
    Record record{key, group, push, 0};
    QList<QToolButton *> &elements = push ? m_command1 : m_check1;
    bool &firstUsed = push ? m_command1Used : m_check1Used;
    if (firstUsed) {
        record.controlIndex = int(elements.size());
        elements << newButton(push, record.controlIndex);
    } else {
        firstUsed = true;
    }
    m_records << record;

    QToolButton *b = button(record);
    b->setObjectName(key);
    b->setProperty("Tag", QString::number(m_records.size() - 1));
    b->move(b->x(), twipsToPixels(ButtonTop));
    b->setIcon(picture);
    setTooltip(b, tooltip);
    b->show();
}

void RightHandToolbar::ClearAll()
{
    for (QList<QToolButton *> *elements : {&m_command1, &m_check1}) {
        while (elements->size() > 1)
            delete elements->takeLast();
        QToolButton *first = elements->first();
        first->hide();
        first->setObjectName(elements == &m_command1 ? QStringLiteral("Command1") : QStringLiteral("Check1"));
    }
    m_command1Used = false;
    m_check1Used = false;
    m_records.clear();
}

QToolButton *RightHandToolbar::button(const Record &record) const
{
    return (record.push ? m_command1 : m_check1).at(record.controlIndex);
}

QToolButton *RightHandToolbar::find(const QString &key) const
{
    for (const Record &record : m_records) {
        if (record.key == key)
            return button(record);
    }
    return nullptr;
}

bool RightHandToolbar::ButtonEnable(const QString &key) const
{
    const QToolButton *b = find(key);
    return b && b->isEnabled();
}

void RightHandToolbar::SetButtonEnable(const QString &key, bool enabled)
{
    if (QToolButton *b = find(key))
        b->setEnabled(enabled);
}

bool RightHandToolbar::ButtonVisible(const QString &key) const
{
    const QToolButton *b = find(key);
    return b && !b->isHidden();
}

void RightHandToolbar::SetButtonVisible(const QString &key, bool visible)
{
    if (QToolButton *b = find(key))
        b->setVisible(visible);
}

bool RightHandToolbar::ButtonValue(const QString &key) const
{
    const QToolButton *b = find(key);
    return b && b->isChecked();
}

void RightHandToolbar::SetButtonValue(const QString &key, bool value)
{
    if (QToolButton *b = find(key))
        b->setChecked(value);
}

QString RightHandToolbar::ButtonTooltipText(const QString &key) const
{
    const QToolButton *b = find(key);
    return b ? b->toolTip() : QString();
}

void RightHandToolbar::SetButtonTooltipText(const QString &key, const QString &text)
{
    if (QToolButton *b = find(key))
        setTooltip(b, text);
}

void RightHandToolbar::setTooltip(QToolButton *button, const QString &text)
{
    // A picture button says what it does only in its tooltip, and so that
    // is its name for screen readers too.
    button->setToolTip(text);
    button->setAccessibleName(text);
}

void RightHandToolbar::ForceResize()
{
    m_resizeFlag = true;
    layoutButtons();
}

void RightHandToolbar::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    layoutButtons();
}

QRect RightHandToolbar::shapeRect() const
{
    const int widthTwips = width() * tavo::TwipsPerPixel;
    return tavo::twipsRect(30, 30, widthTwips - 200, 330);
}

void RightHandToolbar::layoutButtons()
{
    if (!m_resizeFlag || m_records.isEmpty())
        return;

    // Worked out in twips, as the bar was designed, then placed in pixels.
    const int controlWidth = width() * tavo::TwipsPerPixel;
    const int shapeLeft = 30;
    const int shapeWidth = controlWidth - 200;
    const int w = ButtonWidth;
    int leftCursor = shapeLeft + 30;
    int rightCursor = shapeLeft + shapeWidth - 30 - w;
    int centred = 0;
    for (const Record &record : std::as_const(m_records)) {
        QToolButton *b = button(record);
        switch (record.group) {
        case ButtonGroup::PackRight:
            b->move(twipsToPixels(rightCursor), b->y());
            rightCursor -= w;
            break;
        case ButtonGroup::Centre: ++centred; break;
        case ButtonGroup::PackLeft:
        default: // a number that names no group
            b->move(twipsToPixels(leftCursor), b->y());
            leftCursor += w;
            break;
        }
    }
    if (centred == 0)
        return;
    int centreCursor = int(std::lround(controlWidth / 2.0 - (w * centred) / 2.0));
    for (const Record &record : std::as_const(m_records)) {
        if (record.group != ButtonGroup::Centre)
            continue;
        QToolButton *b = button(record);
        b->move(twipsToPixels(centreCursor), b->y());
        centreCursor += w;
    }
}

void RightHandToolbar::paintEvent(QPaintEvent *)
{
    // The frame around the bar.
    QPainter painter(this);
    painter.setPen(palette().color(QPalette::Mid));
    painter.drawRect(shapeRect().adjusted(0, 0, -1, -1));
}
