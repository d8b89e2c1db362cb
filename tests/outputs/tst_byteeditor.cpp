#include "outputs/byteEditor.h"

#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QTimerEvent>
#include <QVBoxLayout>

namespace {

// Lets the spinner's repeat timer run for `ms` of virtual time: each time
// the timer's current interval fits into what is left, one tick is
// delivered exactly as the event loop would deliver it.
void holdFor(QTimer *timer, int ms)
{
    int elapsed = 0;
    while (timer->isActive() && elapsed + timer->interval() <= ms) {
        elapsed += timer->interval();
        QTimerEvent tick(timer->timerId());
        QCoreApplication::sendEvent(timer, &tick);
    }
}

} // namespace

class TestByteEditor : public QObject
{
    Q_OBJECT

    struct Fixture {
        QWidget window;
        byteEditor *spinner = new byteEditor;
        QLineEdit *elsewhere = new QLineEdit; // somewhere for the focus to go
        QLineEdit *text = nullptr;
        QWidget *up = nullptr;
        QWidget *down = nullptr;
        QTimer *timer = nullptr;

        Fixture()
        {
            auto *layout = new QVBoxLayout(&window);
            layout->addWidget(spinner);
            layout->addWidget(elsewhere);
            text = spinner->findChild<QLineEdit *>(QStringLiteral("Text1"));
            up = spinner->findChild<QWidget *>(QStringLiteral("Up"));
            down = spinner->findChild<QWidget *>(QStringLiteral("Down"));
            timer = spinner->findChild<QTimer *>(QStringLiteral("Timer1"));
            window.show();
            QApplication::setActiveWindow(&window);
        }

        void type(const QString &typed)
        {
            text->setFocus(Qt::MouseFocusReason);
            text->selectAll();
            QTest::keyClick(text, Qt::Key_Backspace);
            for (QChar c : typed) {
                if (c.unicode() < 128)
                    QTest::keyClick(text, char(c.unicode()));
                else
                    text->insert(c); // no key for it on the test keyboard
            }
        }
    };

private slots:
    void childrenAreThere()
    {
        Fixture f;
        QVERIFY(f.text && f.up && f.down && f.timer);
        QCOMPARE(f.text->text(), QStringLiteral("000"));
        QVERIFY(!f.timer->isActive());
    }

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
        QTest::newRow("dec 254.7") << 1 << QStringLiteral("254.7") << 255 << QStringLiteral("255");
        QTest::newRow("dec leading number") << 1 << QStringLiteral("12 seconds") << 12 << QStringLiteral("012");
        QTest::newRow("dec blanks first") << 1 << QStringLiteral("  42") << 42 << QStringLiteral("042");
        QTest::newRow("dec no number") << 1 << QStringLiteral("abc") << 0 << QStringLiteral("000");
        QTest::newRow("dec empty") << 1 << QString() << 0 << QStringLiteral("000");
        QTest::newRow("dec huge") << 1 << QStringLiteral("99999999999") << 255 << QStringLiteral("255");
        QTest::newRow("dec exponent") << 1 << QStringLiteral("1e2") << 100 << QStringLiteral("100");
        QTest::newRow("hex a") << 2 << QStringLiteral("a") << 10 << QStringLiteral("0A");
        QTest::newRow("hex ff") << 2 << QStringLiteral("ff") << 255 << QStringLiteral("FF");
        QTest::newRow("hex zz") << 2 << QStringLiteral("zz") << 0 << QStringLiteral("00");
        QTest::newRow("hex G") << 2 << QStringLiteral("G") << 0 << QStringLiteral("00");
        QTest::newRow("hex third digit ignored") << 2 << QStringLiteral("1F7") << 31 << QStringLiteral("1F");
        QTest::newRow("hex bad first digit") << 2 << QStringLiteral("x5") << 5 << QStringLiteral("05");
        QTest::newRow("hex empty") << 2 << QString() << 0 << QStringLiteral("00");
        QTest::newRow("char A") << 0 << QStringLiteral("AB") << 65 << QStringLiteral("A");
        QTest::newRow("char empty") << 0 << QString() << 0 << QString(QChar(0));
        QTest::newRow("char e acute") << 0 << QStringLiteral("\u00e9") << 0xE9 << QStringLiteral("\u00e9");
        QTest::newRow("unknown mode reads 0, keeps text") << 5 << QStringLiteral("77") << 0 << QStringLiteral("77");
    }

    void typedTextIsReadClampedAndRedrawn()
    {
        QFETCH(int, mode);
        QFETCH(QString, typed);
        QFETCH(int, value);
        QFETCH(QString, shown);

        for (const bool byEnter : {true, false}) {
            Fixture f;
            f.spinner->set_values(std::int16_t(99), mode, QString());
            QSignalSpy changed(f.spinner, &byteEditor::Changed);
            f.type(typed);
            if (byEnter)
                QTest::keyClick(f.text, Qt::Key_Return);
            else
                f.elsewhere->setFocus(Qt::TabFocusReason);
            QCOMPARE(changed.size(), 1);
            QCOMPARE(f.text->text(), shown);
            QCOMPARE(f.spinner->return_value(), value);
        }
    }

    void enterThenLeavingRaisesChangedTwice()
    {
        Fixture f;
        f.spinner->set_values(std::int16_t(0), byteEditor::Decimal, QString());
        QSignalSpy changed(f.spinner, &byteEditor::Changed);
        f.type(QStringLiteral("12"));
        QCOMPARE(changed.size(), 0); // typing alone commits nothing
        QTest::keyClick(f.text, Qt::Key_Enter);
        QCOMPARE(changed.size(), 1);
        f.elsewhere->setFocus(Qt::TabFocusReason);
        QCOMPARE(changed.size(), 2);
        QCOMPARE(f.spinner->return_value(), 12);
    }

    void returnValueDropsUncommittedText()
    {
        Fixture f;
        f.spinner->set_values(std::int16_t(5), byteEditor::Decimal, QString());
        f.type(QStringLiteral("200"));
        QCOMPARE(f.spinner->return_value(), 5);
        QCOMPARE(f.text->text(), QStringLiteral("005"));
    }

    void setValuesClampsShowsAndStaysQuiet_data()
    {
        QTest::addColumn<int>("value");
        QTest::addColumn<int>("mode");
        QTest::addColumn<QString>("shown");
        QTest::addColumn<int>("stored");
        QTest::newRow("400 decimal") << 400 << 1 << QStringLiteral("255") << 255;
        QTest::newRow("-3 decimal") << -3 << 1 << QStringLiteral("000") << 0;
        QTest::newRow("10 hex") << 10 << 2 << QStringLiteral("0A") << 10;
        QTest::newRow("65 character") << 65 << 0 << QStringLiteral("A") << 65;
        QTest::newRow("unknown mode leaves the text") << 9 << 3 << QStringLiteral("000") << 9;
    }

    void setValuesClampsShowsAndStaysQuiet()
    {
        QFETCH(int, value);
        QFETCH(int, mode);
        QFETCH(QString, shown);
        QFETCH(int, stored);
        Fixture f;
        QSignalSpy changed(f.spinner, &byteEditor::Changed);
        f.spinner->set_values(std::int16_t(value), mode, QStringLiteral("tip "));
        QCOMPARE(f.text->text(), shown);
        QCOMPARE(f.text->toolTip(), QStringLiteral("tip "));
        QCOMPARE(changed.size(), 0);
        f.spinner->refresh_mode(byteEditor::Decimal);
        QCOMPARE(f.text->text(), QStringLiteral("%1").arg(stored, 3, 10, QLatin1Char('0')));
    }

    void holdingAButtonRepeats_data()
    {
        QTest::addColumn<bool>("upButton");
        QTest::addColumn<int>("mouseButton");
        QTest::addColumn<int>("start");
        QTest::addColumn<int>("heldMs");
        QTest::addColumn<int>("end");

        QTest::newRow("click up") << true << int(Qt::LeftButton) << 0 << 0 << 1;
        QTest::newRow("up just under a second") << true << int(Qt::LeftButton) << 0 << 999 << 1;
        QTest::newRow("up one second") << true << int(Qt::LeftButton) << 0 << 1000 << 2;
        QTest::newRow("up 1.55 seconds") << true << int(Qt::LeftButton) << 0 << 1550 << 7;
        QTest::newRow("up 3 seconds") << true << int(Qt::LeftButton) << 0 << 3000 << 22;
        QTest::newRow("down 1.55 seconds") << false << int(Qt::LeftButton) << 10 << 1550 << 3;
        QTest::newRow("up stops at 255") << true << int(Qt::LeftButton) << 254 << 1550 << 255;
        QTest::newRow("up at 255") << true << int(Qt::LeftButton) << 255 << 0 << 255;
        QTest::newRow("down stops at 0") << false << int(Qt::LeftButton) << 0 << 1550 << 0;
        QTest::newRow("right button works too") << true << int(Qt::RightButton) << 7 << 1000 << 9;
    }

    void holdingAButtonRepeats()
    {
        QFETCH(bool, upButton);
        QFETCH(int, mouseButton);
        QFETCH(int, start);
        QFETCH(int, heldMs);
        QFETCH(int, end);

        Fixture f;
        f.spinner->set_values(std::int16_t(start), byteEditor::Decimal, QString());
        QSignalSpy changed(f.spinner, &byteEditor::Changed);
        QWidget *button = upButton ? f.up : f.down;
        const auto mouse = Qt::MouseButton(mouseButton);

        QTest::mousePress(button, mouse);
        QVERIFY(f.timer->isActive());
        QCOMPARE(f.timer->interval(), 1000);
        holdFor(f.timer, heldMs);
        QCOMPARE(changed.size(), 0); // not while held
        QTest::mouseRelease(button, mouse);

        QVERIFY(!f.timer->isActive());
        QCOMPARE(changed.size(), 1);
        QCOMPARE(f.text->text(), QStringLiteral("%1").arg(end, 3, 10, QLatin1Char('0')));
        QCOMPARE(f.spinner->return_value(), end);
    }

    void disabledSpinnerIgnoresTheMouse()
    {
        Fixture f;
        f.spinner->set_values(std::int16_t(5), byteEditor::Decimal, QString());
        f.spinner->Setenabled(false);
        QSignalSpy changed(f.spinner, &byteEditor::Changed);
        QTest::mouseClick(f.up, Qt::LeftButton);
        QVERIFY(!f.text->isEnabled());
        QCOMPARE(changed.size(), 0);
        QCOMPARE(f.spinner->return_value(), 5);
        f.spinner->Setenabled(true);
        QTest::mouseClick(f.up, Qt::LeftButton);
        QCOMPARE(f.spinner->return_value(), 6);
    }
};

QTEST_MAIN(TestByteEditor)
#include "tst_byteeditor.moc"
