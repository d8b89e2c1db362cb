#pragma once

#include <QWidget>

#include <cstdint>

class QFrame;
class QLineEdit;
class QTimer;

namespace tavo {
class ArrowButton;
}

// A value from 0 to 255, typed into a small text box or stepped with an up
// and a down button that repeat while held: a step at once, another after a
// second, then one every tenth of a second.
//
// The value is shown and read as a character (mode 0), three decimal digits
// (mode 1) or two hexadecimal digits (mode 2). `Changed` follows every user
// action that may have changed the value (also when it did not): Enter in
// the text box, leaving the text box, and releasing a button, once per
// press however many steps the press made.
//
// byteEditor, Setenabled (the tool's write-only `enabled`), return_value,
// set_values, refresh_mode, Changed, SetClampedValue and ParseText, and the
// children's object names EnableFrame, Text1, Up, Down and Timer1, are the
// names the unit's original configuration tool used. They keep that
// spelling, against our lowerCamelCase habit, so that the spinner can be
// traced name by name to that tool, and tests find its parts by them; the
// other names are ours.
class byteEditor : public QWidget
{
    Q_OBJECT

public:
    enum DisplayModes { Character = 0, Decimal = 1, Hexadecimal = 2 };

    explicit byteEditor(QWidget *parent = nullptr);
    ~byteEditor() override;

    // Enables or disables the whole spinner (there is no getter).
    void Setenabled(bool value);

    // Stores the value again through the clamp, which redraws the text: text
    // typed but not committed with Enter or by leaving the box is dropped.
    std::int16_t return_value();

    // Loads value, display mode and tooltip without raising Changed.
    void set_values(const std::int16_t &value, int mode, const QString &tooltip);

    void refresh_mode(int mode);

    QSize sizeHint() const override;

signals:
    void Changed();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    std::uint8_t SetClampedValue(int n);
    void redrawText();
    void ParseText();
    void pressed(bool up);
    void released(bool up);
    void tick();

    QFrame *m_enableFrame;
    QLineEdit *m_text1;
    tavo::ArrowButton *m_up;
    tavo::ArrowButton *m_down;
    QTimer *m_timer1;

    std::uint8_t m_value = 0;
    int m_displayMode = Character;
    bool m_settingFlag = false;
    bool m_upHeld = false;
    bool m_downHeld = false;
};
