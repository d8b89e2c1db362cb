#include "ArrowButton.h"

#include <QMouseEvent>
#include <QPainter>
#include <QStyleOptionButton>

#include <cmath>

namespace tavo {

ArrowButton::ArrowButton(Qt::ArrowType direction, QWidget *parent)
    : QAbstractButton(parent)
    , m_direction(direction)
{
    setFocusPolicy(Qt::NoFocus);
}

void ArrowButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    QStyleOptionButton option;
    option.initFrom(this);
    if (isDown())
        option.state |= QStyle::State_Sunken;
    else
        option.state |= QStyle::State_Raised;
    style()->drawPrimitive(QStyle::PE_PanelButtonBevel, &option, &painter, this);

    // A 5 x 3 triangle of whole logical pixels, each drawn as a block of
    // whole device pixels, so no edge is ever anti-aliased into grey.
    const qreal ratio = devicePixelRatioF();
    const int unit = qMax(1, int(std::floor(ratio)));
    const int deviceWidth = int(std::round(width() * ratio));
    const int deviceHeight = int(std::round(height() * ratio));
    const int left = (deviceWidth - 5 * unit) / 2 + (isDown() ? unit : 0);
    const int top = (deviceHeight - 3 * unit) / 2 + (isDown() ? unit : 0);

    painter.save();
    painter.scale(1 / ratio, 1 / ratio);
    const QColor ink = isEnabled() ? palette().color(QPalette::ButtonText)
                                   : palette().color(QPalette::Disabled, QPalette::ButtonText);
    for (int row = 0; row < 3; ++row) {
        const int half = m_direction == Qt::UpArrow ? row : 2 - row; // 0, 1, 2 blocks either side
        painter.fillRect(left + (2 - half) * unit, top + row * unit, (2 * half + 1) * unit, unit, ink);
    }
    painter.restore();
}

void ArrowButton::mousePressEvent(QMouseEvent *event)
{
    event->accept();
    if (m_held)
        return; // a second mouse button while the first is down
    m_held = true;
    setDown(true);
    emit mouseDown();
}

void ArrowButton::mouseReleaseEvent(QMouseEvent *event)
{
    event->accept();
    if (!m_held || event->buttons() != Qt::NoButton)
        return; // other buttons still down
    m_held = false;
    setDown(false);
    emit mouseUp();
}

} // namespace tavo
