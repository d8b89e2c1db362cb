#include "byteEditor.h"

#include "ArrowButton.h"
#include "NumericText.h"
#include "Twips.h"

#include <QEvent>
#include <QFocusEvent>
#include <QFrame>
#include <QKeyEvent>
#include <QLineEdit>
#include <QTimer>

#include <string_view>

namespace {

constexpr int FirstRepeatMs = 1000;
constexpr int RepeatMs = 100;

QChar hexDigit(int digit)
{
    if (digit < 0 || digit > 15)
        return QLatin1Char('0');
    return QLatin1Char("0123456789ABCDEF"[digit]);
}

int digitValue(QChar c)
{
    const char16_t u = c.unicode();
    if (u >= u'0' && u <= u'9')
        return u - u'0';
    if (u >= u'A' && u <= u'F')
        return u - u'A' + 10;
    if (u >= u'a' && u <= u'f')
        return u - u'a' + 10;
    return 0;
}

} // namespace

byteEditor::byteEditor(QWidget *parent)
    : QWidget(parent)
    , m_enableFrame(new QFrame(this))
    , m_text1(new QLineEdit(m_enableFrame))
    , m_up(new tavo::ArrowButton(Qt::UpArrow, m_enableFrame))
    , m_down(new tavo::ArrowButton(Qt::DownArrow, m_enableFrame))
    , m_timer1(new QTimer(this))
{
    using tavo::twipsRect;
    m_enableFrame->setObjectName(QStringLiteral("EnableFrame"));
    m_enableFrame->setFrameShape(QFrame::NoFrame);
    m_enableFrame->setGeometry(twipsRect(0, 0, 975, 1935));

    m_text1->setObjectName(QStringLiteral("Text1"));
    m_text1->setGeometry(twipsRect(0, 0, 495, 285));
    m_text1->setText(QStringLiteral("000"));
    m_text1->setTextMargins(0, 0, 0, 0);
    m_text1->installEventFilter(this);

    // The arrows have no caption; screen readers call them by their names.
    m_up->setObjectName(QStringLiteral("Up"));
    m_up->setAccessibleName(QStringLiteral("Up"));
    m_up->setGeometry(twipsRect(480, 0, 255, 135));
    // The down button overlaps the up button by one pixel, as drawn.
    m_down->setObjectName(QStringLiteral("Down"));
    m_down->setAccessibleName(QStringLiteral("Down"));
    m_down->setGeometry(twipsRect(480, 120, 255, 135));
    connect(m_up, &tavo::ArrowButton::mouseDown, this, [this] { pressed(true); });
    connect(m_up, &tavo::ArrowButton::mouseUp, this, [this] { released(true); });
    connect(m_down, &tavo::ArrowButton::mouseDown, this, [this] { pressed(false); });
    connect(m_down, &tavo::ArrowButton::mouseUp, this, [this] { released(false); });

    m_timer1->setObjectName(QStringLiteral("Timer1"));
    connect(m_timer1, &QTimer::timeout, this, &byteEditor::tick);

    setFocusProxy(m_text1);
}

byteEditor::~byteEditor() = default;

QSize byteEditor::sizeHint() const
{
    return tavo::twipsRect(0, 0, 735, 255).size();
}

void byteEditor::Setenabled(bool value)
{
    m_enableFrame->setEnabled(value);
}

std::int16_t byteEditor::return_value()
{
    return SetClampedValue(m_value);
}

void byteEditor::set_values(const std::int16_t &value, int mode, const QString &tooltip)
{
    m_settingFlag = true;
    m_text1->setToolTip(tooltip);
    // The tooltip says what the value is; screen readers take it as the name.
    m_text1->setAccessibleName(tooltip.trimmed());
    m_displayMode = mode;
    SetClampedValue(value);
    m_settingFlag = false;
}

void byteEditor::refresh_mode(int mode)
{
    m_displayMode = mode;
    redrawText();
}

std::uint8_t byteEditor::SetClampedValue(int n)
{
    // No wrap-around: stepping past either end stays at the end.
    m_value = static_cast<std::uint8_t>(qBound(0, n, 255));
    redrawText();
    return m_value;
}

void byteEditor::redrawText()
{
    switch (m_displayMode) {
    case Character: m_text1->setText(QString(QChar(char16_t(m_value)))); break;
    case Decimal: m_text1->setText(QStringLiteral("%1").arg(int(m_value), 3, 10, QLatin1Char('0'))); break;
    case Hexadecimal: m_text1->setText(QString(hexDigit(m_value / 16)) + hexDigit(m_value % 16)); break;
    default: return; // an unknown mode leaves the text alone
    }
    m_text1->update();
}

void byteEditor::ParseText()
{
    const QString text = m_text1->text();
    double result = 0;
    switch (m_displayMode) {
    case Character:
        // Characters outside Latin-1 read as "?", the code page's stand-in.
        result = text.isEmpty() ? 0 : static_cast<unsigned char>(text.left(1).toLatin1().at(0));
        break;
    case Decimal: {
        const QByteArray latin = text.toLatin1();
        result = tavo::leadingNumber(std::string_view(latin.constData(), std::size_t(latin.size())));
        break;
    }
    case Hexadecimal: {
        const QString padded = text.rightJustified(2, QLatin1Char('0'));
        result = 16 * digitValue(padded.at(0)) + digitValue(padded.at(1));
        break;
    }
    default: break;
    }
    // Clamped before rounding, so huge or endless numbers never overflow.
    if (result > 255)
        result = 255;
    else if (!(result >= 0))
        result = 0;
    SetClampedValue(tavo::roundToInt16(result));
}

bool byteEditor::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_text1) {
        if (event->type() == QEvent::KeyRelease) {
            const int key = static_cast<QKeyEvent *>(event)->key();
            if (key == Qt::Key_Return || key == Qt::Key_Enter) {
                ParseText();
                emit Changed();
            }
        } else if (event->type() == QEvent::FocusOut) {
            // Only a move to another control commits; switching to another
            // window or opening a menu leaves the typing where it was.
            const Qt::FocusReason reason = static_cast<QFocusEvent *>(event)->reason();
            if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason) {
                ParseText();
                if (!m_settingFlag)
                    emit Changed();
            }
        }
    }
    return QWidget::eventFilter(watched, event);
}

void byteEditor::pressed(bool up)
{
    SetClampedValue(m_value + (up ? 1 : -1));
    (up ? m_upHeld : m_downHeld) = true;
    m_timer1->setInterval(FirstRepeatMs);
    m_timer1->start();
}

void byteEditor::released(bool up)
{
    (up ? m_upHeld : m_downHeld) = false;
    m_timer1->stop();
    emit Changed();
}

void byteEditor::tick()
{
    m_timer1->setInterval(RepeatMs);
    if (m_downHeld)
        SetClampedValue(m_value - 1);
    if (m_upHeld)
        SetClampedValue(m_value + 1);
}
