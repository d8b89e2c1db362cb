#include "OutputControl.h"
#include "SerialEditor.h"
#include "byteEditor.h"
#include "support/Messages.h"

#include <QGroupBox>
#include <QLineEdit>
#include <QRadioButton>
#include <QSignalSpy>
#include <QTest>

#include <stdexcept>

using samples::code;
using Type = SerialEditorData::Type;

namespace {

struct Panel {
    ConfigData config;
    OutputControl control{config};
    QSignalSpy clicks{&control, &OutputControl::Click};

    template <typename T = QWidget>
    T *child(const char *name) const
    {
        return control.findChild<T *>(QString::fromLatin1(name));
    }
    QRadioButton *option(int i) const
    {
        return child<QRadioButton>(i ? "OuputOperation_1" : "OuputOperation_0");
    }
    SerialEditor *on() const { return child<SerialEditor>("SerialEditorOn"); }
    SerialEditor *off() const { return child<SerialEditor>("SerialEditorOff"); }
    byteEditor *period() const { return child<byteEditor>("Period"); }
    QLineEdit *periodText() const { return period()->findChild<QLineEdit *>(QStringLiteral("Text1")); }
    bool pulseControlsShown() const
    {
        const bool pulse = period()->isVisible();
        return pulse == child("PeriodLabel")->isVisible() && pulse != off()->isVisible()
               && pulse != child("LabelSerialOff")->isVisible() && pulse;
    }
};

} // namespace

class TestOutputControl : public QObject
{
    Q_OBJECT

private slots:
    void setIndexShowsTheOutputQuietly_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<bool>("pulse");
        QTest::addColumn<QString>("period");
        QTest::newRow("first, On/Off") << 0 << false << QStringLiteral("001");
        QTest::newRow("last, pulse") << 7 << true << QStringLiteral("255");
    }

    void setIndexShowsTheOutputQuietly()
    {
        QFETCH(int, index);
        QFETCH(bool, pulse);
        QFETCH(QString, period);
        Panel p;
        const auto i = std::size_t(index);
        p.config.PulseModes[i] = pulse;
        p.config.OnPeriods[i] = std::int16_t(period.toInt());
        p.config.OnMessages[i] = code("ON", Type::Ascii);
        p.config.OffMessages[i] = code("OFF", Type::Ascii);
        p.control.show();
        // Children that report changes in the middle of a load, as an editor
        // or an option button being filled may do, are not heard.
        for (QRadioButton *option : {p.option(0), p.option(1)}) {
            connect(option, &QRadioButton::toggled, p.on(), [&] { emit p.on()->Changed(); });
            connect(option, &QRadioButton::toggled, p.period(), [&] { emit p.period()->Changed(); });
        }
        p.control.SetIndex(index);

        QCOMPARE(p.clicks.size(), 0);
        QCOMPARE(p.config.PulseModes[i], pulse);
        QCOMPARE(p.config.OnPeriods[i], period.toInt());
        QCOMPARE(p.child<QGroupBox>("MainFrame")->title(), QStringLiteral("Output %1").arg(index + 1));
        QCOMPARE(p.option(1)->isChecked(), pulse);
        QCOMPARE(p.pulseControlsShown(), pulse);
        QCOMPARE(p.periodText()->text(), period);
        // The editors show the configuration's codes.
        QVERIFY(p.off()->ReturnCurrentMessage().IsTheSameAs(p.config.OffMessages[i]));
        QVERIFY_THROWS_EXCEPTION(std::out_of_range, p.control.SetIndex(8));
        QCOMPARE(p.control.OutputNumber(), index);
        emit p.on()->Changed(); // once loaded, changes count again
        QCOMPARE(p.clicks.size(), 1);
    }

    // Mode and period go back to the configuration at once, the codes only
    // when collated.
    void editsReachTheConfiguration()
    {
        Panel p;
        p.config.OnMessages[4] = code("A");
        p.config.OffMessages[4] = code("\x01\x02\x03");
        p.config.OnPeriods[4] = 10;
        p.control.show();
        p.control.SetIndex(4);
        QTest::mouseClick(p.option(1), Qt::LeftButton);
        QVERIFY(p.config.PulseModes[4] && p.pulseControlsShown());
        QTest::mouseClick(p.period()->findChild<QWidget *>(QStringLiteral("Up")), Qt::LeftButton);
        QCOMPARE(p.config.OnPeriods[4], 11);
        QTest::mouseClick(p.option(0), Qt::LeftButton);
        QVERIFY(!p.config.PulseModes[4] && !p.pulseControlsShown());
        QVERIFY(p.off()->ReturnCurrentMessage().IsTheSameAs(code("\x01\x02\x03"))); // hidden, not cleared
        QCOMPARE(p.config.OnPeriods[5], 0);

        p.on()->ReturnCurrentMessage().SetAllDataTo(code("BC"));
        p.off()->ReturnCurrentMessage().SetAllDataTo(code("D"));
        emit p.on()->Changed();
        emit p.off()->Changed();
        QCOMPARE(p.clicks.size(), 5);
        QVERIFY(p.config.OnMessages[4].IsTheSameAs(code("A"))); // not yet
        p.control.ColateSerialData();
        QVERIFY(p.config.OnMessages[4].IsTheSameAs(code("BC")));
        QVERIFY(p.config.OffMessages[4].IsTheSameAs(code("D")));
        QVERIFY(p.config.OnMessages[0].IsTheSameAs(SerialEditorData()));
    }

    void widerPanelsGiveTheCodesTheRoom_data()
    {
        QTest::addColumn<int>("extra");    // pixels beyond the drawn width
        QTest::addColumn<bool>("scrolls"); // a full binary code needs its bar
        QTest::newRow("as drawn") << 0 << true;
        QTest::newRow("wider") << 900 << false;
    }
    void widerPanelsGiveTheCodesTheRoom()
    {
        QFETCH(int, extra);
        QFETCH(bool, scrolls);
        Panel p;
        p.config.OffMessages[2] =
            code("\x80\x81\x82\x83\x84\x85\x86\x87\x88\x89\x8a\x8b\x8c\x8d", Type::Binary);
        p.control.SetIndex(2);
        const QSize drawn = p.control.sizeHint();
        const QRect drawnOff = p.off()->geometry();
        const QRect drawnMark = p.child("FindingsMark")->geometry();
        QCOMPARE(p.control.minimumSizeHint().expandedTo(p.control.minimumSize()), drawn);
        p.control.resize(drawn.width() + extra, drawn.height() + 50);
        p.control.show();

        QCOMPARE(p.control.height(), drawn.height()); // never taller
        QCOMPARE(p.off()->geometry(), drawnOff.adjusted(0, 0, extra, 0));
        QCOMPARE(p.child("LabelSerialOn")->width(), drawnOff.width() + extra);
        QCOMPARE(p.child("MainFrame")->width(), drawn.width() + extra);
        QCOMPARE(p.child("FindingsMark")->geometry(), drawnMark.translated(extra, 0)); // in the corner
        QCOMPARE(p.off()->findChild<QWidget *>(QStringLiteral("OffsetBar"))->isEnabled(), scrolls);
    }
};

QTEST_MAIN(TestOutputControl)
#include "tst_outputcontrol.moc"
