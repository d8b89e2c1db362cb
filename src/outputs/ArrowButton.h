#pragma once

#include <QAbstractButton>

namespace tavo {

// The spinner's small arrow buttons. They report the press and the release
// of any mouse button (not only the left one), and draw the arrow on the
// device pixel grid so that it stays crisp at every scale factor.
class ArrowButton : public QAbstractButton
{
    Q_OBJECT

public:
    explicit ArrowButton(Qt::ArrowType direction, QWidget *parent = nullptr);

signals:
    void mouseDown();
    void mouseUp();

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    Qt::ArrowType m_direction;
    bool m_held = false;
};

} // namespace tavo
