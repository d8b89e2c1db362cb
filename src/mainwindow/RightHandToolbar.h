#pragma once

#include <QIcon>
#include <QList>
#include <QWidget>

class QToolButton;

// A single row of equally wide picture buttons across the top of a window,
// in three groups: packed from the left, packed from the right (the first
// added stands rightmost) and centred. Buttons are known by a key given
// when they are added; the host changes them by key and hears of clicks by
// key. Each button's objectName is its key.
//
// Buttons are laid out only once the host has called ForceResize(), and on
// every resize after that, so that a host filling the bar does not pay for
// a layout per button.
//
// RightHandToolbar, AddButton, ClearAll, ButtonEnable, ButtonVisible,
// ButtonValue, ButtonTooltipText (read, and set through SetButton...),
// ForceResize and ButtonClicked, and the buttons' object names Command1 and
// Check1 and their Tag, are the names the unit's original configuration
// tool used. They keep that spelling, against our lowerCamelCase habit, so
// that a host written against that toolbar reads the same here; the other
// names are ours.
class RightHandToolbar : public QWidget
{
    Q_OBJECT

public:
    // Where a button stands. The numbers are the ones hosts have always
    // passed to AddButton; any other number packs from the left.
    enum class ButtonGroup : int { PackLeft = 0, PackRight = 1, Centre = 2 };

    // Layout measures, in twips.
    static constexpr int BarHeight = 390;
    static constexpr int ButtonTop = 30;
    static constexpr int ButtonWidth = 360;
    static constexpr int ButtonHeight = 330;

    explicit RightHandToolbar(QWidget *parent = nullptr);

    // `push`: a push button; otherwise a two-state button whose value
    // latches.
    void AddButton(const QString &key, const QIcon &picture, ButtonGroup group, const QString &tooltip,
                   bool push);
    // The group given by its number, 0 left, 1 right, 2 centre.
    void AddButton(const QString &key, const QIcon &picture, int group, const QString &tooltip, bool push)
    {
        AddButton(key, picture, static_cast<ButtonGroup>(group), tooltip, push);
    }
    void ClearAll();

    // By key; the first button added with the key counts. An unknown key
    // changes nothing and reads false or empty.
    bool ButtonEnable(const QString &key) const;
    void SetButtonEnable(const QString &key, bool enabled);
    bool ButtonVisible(const QString &key) const;
    void SetButtonVisible(const QString &key, bool visible);
    bool ButtonValue(const QString &key) const;
    void SetButtonValue(const QString &key, bool value);
    QString ButtonTooltipText(const QString &key) const;
    void SetButtonTooltipText(const QString &key, const QString &text);

    void ForceResize();

    QSize sizeHint() const override;

signals:
    void ButtonClicked(const QString &key);

protected:
    void resizeEvent(QResizeEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    struct Record {
        QString key;
        ButtonGroup group = ButtonGroup::PackLeft;
        bool push = true;
        int controlIndex = 0;
    };

    QToolButton *newButton(bool push, int index);
    QToolButton *button(const Record &record) const;
    QToolButton *find(const QString &key) const;
    static void setTooltip(QToolButton *button, const QString &text);
    void layoutButtons();
    QRect shapeRect() const;

    QList<Record> m_records;
    QList<QToolButton *> m_command1;
    QList<QToolButton *> m_check1;
    bool m_command1Used = false;
    bool m_check1Used = false;
    bool m_resizeFlag = false;
};
