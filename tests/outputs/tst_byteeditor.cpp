#include "byteEditor.h"

#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QTimerEvent>
#include <QVBoxLayout>

namespace {

// Lets the repeat timer run for `ms` of virtual time: whenever its current
// interval fits into what is left, one tick is delivered as the event loop
// would deliver it.
void holdFor(QTimer *timer, int ms)
{
    for (int elapsed = 0; timer->isActive() && elapsed + timer->interval() <= ms;) {
        elapsed += timer->interval();
        QTimerEvent tick(timer->timerId());
        QCoreApplication::sendEvent(timer, &tick);
    }
}

struct Spinner {
    QWidget window;
    byteEditor *spinner = new byteEditor;
    QLineEdit *elsewhere = new QLineEdit; // somewhere for the focus to go
    QLineEdit *text = spinner->findChild<QLineEdit *>(QStringLiteral("Text1"));
    QWidget *up = spinner->findChild<QWidget *>(QStringLiteral("Up"));
    QWidget *down = spinner->findChild<QWidget *>(QStringLiteral("Down"));
    QTimer *timer = spinner->findChild<QTimer *>(QStringLiteral("Timer1"));
    QSignalSpy changed{spinner, &byteEditor::Changed};

    Spinner(int value, int mode)
    {
        auto *layout = new QVBoxLayout(&window);
        layout->addWidget(spinner);
        layout->addWidget(elsewhere);
        window.show();
        QApplication::setActiveWindow(&window);
        spinner->set_values(std::int16_t(value), mode, QString());
    }
    void type(const QString &typed)
    {
        text->setFocus(Qt::MouseFocusReason);
        text->selectAll();
        QTest::keyClick(text, Qt::Key_Backspace);
        QTest::keyClicks(text, typed);
    }
};

} // namespace

class TestByteEditor : public QObject
{
    Q_OBJECT

private slots:
    void typedTextIsReadClampedAndRedrawn_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<int>("value");
        QTest::addColumn<QString>("shown");
        QTest::newRow("dec 7") << 1 << QStringLiteral("7") << 7 << QStringLiteral("007");
        QTest::newRow("dec 300") << 1 << QStringLiteral("300") << 255 << QStringLiteral("255");
        QTest::newRow("dec -5") << 1 << QStringLiteral("-5") << 0 << QStringLiteral("000");
        QTest::newRow("dec 2.5 to even") << 1 << QStringLiteral("2.5") << 2 << QStringLiteral("002");
        QTest::newRow("dec 3.5 to even") << 1 << QStringLiteral("3.5") << 4 << QStringLiteral("004");
        QTest::newRow("dec leading number") << 1 << QStringLiteral(" 12 s") << 12 << QStringLiteral("012");
        QTest::newRow("dec huge") << 1 << QStringLiteral("99999999999") << 255 << QStringLiteral("255");
        QTest::newRow("hex a") << 2 << QStringLiteral("a") << 10 << QStringLiteral("0A");
        QTest::newRow("hex zz") << 2 << QStringLiteral("zz") << 0 << QStringLiteral("00");
        QTest::newRow("hex third digit ignored") << 2 << QStringLiteral("1F7") << 31 << QStringLiteral("1F");
        QTest::newRow("char first only") << 0 << QStringLiteral("AB") << 65 << QStringLiteral("A");
        QTest::newRow("char empty") << 0 << QString() << 0 << QString(QChar(0));
        QTest::newRow("unknown mode reads 0") << 5 << QStringLiteral("77") << 0 << QStringLiteral("77");
    }

    void typedTextIsReadClampedAndRedrawn()
    {
        QFETCH(int, mode);
        QFETCH(QString, typed);
        QFETCH(int, value);
        QFETCH(QString, shown);
        for (const bool byEnter : {true, false}) {
            Spinner s(99, mode);
            s.type(typed);
            QCOMPARE(s.changed.size(), 0); // typing alone commits nothing
            if (byEnter) {
                QTest::keyClick(s.text, Qt::Key_Return);
                QCOMPARE(s.text->text(), shown);
            }
            s.elsewhere->setFocus(Qt::TabFocusReason); // leaving commits again
            QCOMPARE(s.changed.size(), byEnter ? 2 : 1);
            QCOMPARE(s.text->text(), shown);
            QCOMPARE(s.spinner->return_value(), value);
        }
    }

    void uncommittedTextIsDroppedWhenTheValueIsRead()
    {
        Spinner s(5, byteEditor::Decimal);
        s.type(QStringLiteral("200"));
        QCOMPARE(s.spinner->return_value(), 5);
        QCOMPARE(s.text->text(), QStringLiteral("005"));
    }

    void setValuesClampsShowsAndStaysQuiet_data()
    {
        QTest::addColumn<int>("value");
        QTest::addColumn<int>("mode");
        QTest::addColumn<QString>("shown");
        QTest::addColumn<QString>("stored"); // shown again in decimal
        QTest::newRow("400 decimal") << 400 << 1 << QStringLiteral("255") << QStringLiteral("255");
        QTest::newRow("-3 decimal") << -3 << 1 << QStringLiteral("000") << QStringLiteral("000");
        QTest::newRow("10 hex") << 10 << 2 << QStringLiteral("0A") << QStringLiteral("010");
        QTest::newRow("65 character") << 65 << 0 << QStringLiteral("A") << QStringLiteral("065");
        QTest::newRow("unknown mode leaves the text")
            << 9 << 3 << QStringLiteral("000") << QStringLiteral("009");
    }

    void setValuesClampsShowsAndStaysQuiet()
    {
        QFETCH(int, value);
        QFETCH(int, mode);
        QFETCH(QString, shown);
        QFETCH(QString, stored);
        Spinner s(value, mode);
        QCOMPARE(s.text->text(), shown);
        QCOMPARE(s.changed.size(), 0);
        s.spinner->refresh_mode(byteEditor::Decimal);
        QCOMPARE(s.text->text(), stored);
    }

    void holdingAButtonRepeats_data()
    {
        QTest::addColumn<bool>("upButton");
        QTest::addColumn<int>("mouseButton");
        QTest::addColumn<int>("start");
        QTest::addColumn<int>("heldMs");
        QTest::addColumn<int>("end");
        QTest::newRow("click up") << true << int(Qt::LeftButton) << 0 << 0 << 1;
        QTest::newRow("up one second") << true << int(Qt::LeftButton) << 0 << 1000 << 2;
        QTest::newRow("up 1.55 seconds") << true << int(Qt::LeftButton) << 0 << 1550 << 7;
        QTest::newRow("up 3 seconds") << true << int(Qt::LeftButton) << 0 << 3000 << 22;
        QTest::newRow("down 1.55 seconds") << false << int(Qt::LeftButton) << 10 << 1550 << 3;
        QTest::newRow("up stops at 255") << true << int(Qt::LeftButton) << 254 << 1550 << 255;
        QTest::newRow("right button works too") << true << int(Qt::RightButton) << 7 << 1000 << 9;
    }

    void holdingAButtonRepeats()
    {
        QFETCH(bool, upButton);
        QFETCH(int, mouseButton);
        QFETCH(int, start);
        QFETCH(int, heldMs);
        QFETCH(int, end);
        Spinner s(start, byteEditor::Decimal);
        QWidget *button = upButton ? s.up : s.down;
        QTest::mousePress(button, Qt::MouseButton(mouseButton));
        holdFor(s.timer, heldMs);
        QCOMPARE(s.changed.size(), 0); // not while held
        QTest::mouseRelease(button, Qt::MouseButton(mouseButton));
        QVERIFY(!s.timer->isActive());
        QCOMPARE(s.changed.size(), 1);
        QCOMPARE(s.spinner->return_value(), end);
    }

    void disabledSpinnerIgnoresTheMouse()
    {
        Spinner s(5, byteEditor::Decimal);
        s.spinner->Setenabled(false);
        QTest::mouseClick(s.up, Qt::LeftButton);
        QVERIFY(!s.text->isEnabled());
        QCOMPARE(s.spinner->return_value(), 5);
    }
};

QTEST_MAIN(TestByteEditor)
#include "tst_byteeditor.moc"
