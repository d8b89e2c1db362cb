#include "mainwindow/RightHandToolbar.h"
#include "mainwindow/ToolbarIcons.h"

#include <QImage>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>

namespace {

constexpr int ButtonPixels = RightHandToolbar::ButtonWidth / 15;

struct Bar {
    QWidget window;
    RightHandToolbar *bar = new RightHandToolbar(&window);

    explicit Bar(int width)
    {
        bar->resize(width, bar->height());
        window.resize(width, 100);
        window.show();
    }
    QToolButton *button(const QString &key) const { return bar->findChild<QToolButton *>(key); }
    int x(const char *key) const { return button(QString::fromLatin1(key))->x(); }
    void add(const char *key, int group, bool push = true) const
    {
        const QString k = QString::fromLatin1(key);
        bar->AddButton(k, tavo::toolbarIcon(QStringLiteral("NEW")), group, k + QStringLiteral(" tip"), push);
    }
};

} // namespace

class TestToolbar : public QObject
{
    Q_OBJECT

private slots:
    void groupsFollowThePackingRules_data()
    {
        QTest::addColumn<int>("width");
        QTest::newRow("600 px") << 600;
        QTest::newRow("odd width") << 801;
        QTest::newRow("narrow") << 300;
    }

    void groupsFollowThePackingRules()
    {
        QFETCH(int, width);
        Bar b(width);
        b.add("L1", 0);
        b.add("A", 1);
        b.add("C1", 2);
        b.add("L2", 0);
        b.add("B", 1);
        b.add("C2", 2);
        b.add("C", 1, false);
        b.add("L3", 7); // an unknown group packs from the left
        b.bar->ForceResize();

        // Left: from 60 twips (4 px) inwards, touching, in the order added.
        QCOMPARE(b.x("L1"), 4);
        QCOMPARE(b.x("L2"), 4 + ButtonPixels);
        QCOMPARE(b.x("L3"), 4 + 2 * ButtonPixels);
        // Right: A, B, C added; C B A from left to right, touching, the last
        // ending 30 twips inside the frame, whose right edge is 200 twips
        // short of the bar's and 30 twips in from its left.
        QCOMPARE(b.x("B"), b.x("A") - ButtonPixels);
        QCOMPARE(b.x("C"), b.x("B") - ButtonPixels);
        const double frameRight = (width * 15 - 200 + 30) / 15.0;
        QVERIFY(qAbs(b.x("A") + ButtonPixels - (frameRight - 2)) <= 1);
        // Centred: side by side, symmetric about the middle.
        QCOMPARE(b.x("C2"), b.x("C1") + ButtonPixels);
        QVERIFY(qAbs((b.x("C1") + b.x("C2") + ButtonPixels) / 2.0 - width / 2.0) <= 1);
        for (const char *key : {"L1", "A", "C1", "C"})
            QCOMPARE(b.button(QString::fromLatin1(key))->y(), 2);
    }

    void nothingIsPlacedBeforeForceResize()
    {
        Bar b(500);
        b.add("R", 1);
        b.bar->resize(480, b.bar->height());
        QCOMPARE(b.x("R"), 0);
        b.bar->ForceResize();
        const int placed = b.x("R");
        QVERIFY(placed > 400);
        b.bar->resize(700, b.bar->height()); // from now on every resize lays out
        QCOMPARE(b.x("R"), placed + 220);
    }

    void propertiesByKey()
    {
        Bar b(400);
        b.add("SAVE", 0);
        b.add("LATCH", 0, false);
        b.add("SAVE", 1); // a second button with the same key is never reached
        QToolButton *first = b.bar->findChildren<QToolButton *>(QStringLiteral("SAVE")).value(0);
        QToolButton *second = b.bar->findChildren<QToolButton *>(QStringLiteral("SAVE")).value(1);
        QVERIFY(first && second);

        b.bar->SetButtonEnable(QStringLiteral("SAVE"), false);
        QVERIFY(!b.bar->ButtonEnable(QStringLiteral("SAVE")));
        QVERIFY(!first->isEnabled());
        QVERIFY(second->isEnabled());
        b.bar->SetButtonTooltipText(QStringLiteral("SAVE"), QStringLiteral("new tip"));
        QCOMPARE(b.bar->ButtonTooltipText(QStringLiteral("SAVE")), QStringLiteral("new tip"));
        QCOMPARE(second->toolTip(), QStringLiteral("SAVE tip"));
        b.bar->SetButtonVisible(QStringLiteral("LATCH"), false);
        QVERIFY(!b.bar->ButtonVisible(QStringLiteral("LATCH")));
        b.bar->SetButtonVisible(QStringLiteral("LATCH"), true);
        b.bar->SetButtonValue(QStringLiteral("LATCH"), true);
        QVERIFY(b.bar->ButtonValue(QStringLiteral("LATCH")));

        // Keys are exact; an unknown one changes nothing and reads empty.
        b.bar->SetButtonEnable(QStringLiteral("save"), true);
        QVERIFY(!first->isEnabled());
        QVERIFY(!b.bar->ButtonVisible(QStringLiteral("NOPE")));
        QVERIFY(!b.bar->ButtonEnable(QStringLiteral("NOPE")));
        QVERIFY(b.bar->ButtonTooltipText(QStringLiteral("NOPE")).isEmpty());
    }

    void clicksReportTheKey()
    {
        Bar b(400);
        b.add("ONE", 0);
        b.add("TWO", 2, false);
        b.bar->ForceResize();
        QSignalSpy clicked(b.bar, &RightHandToolbar::ButtonClicked);
        QTest::mouseClick(b.button(QStringLiteral("TWO")), Qt::LeftButton);
        QTest::mouseClick(b.button(QStringLiteral("ONE")), Qt::LeftButton);
        QCOMPARE(clicked.size(), 2);
        QCOMPARE(clicked.at(0).at(0).toString(), QStringLiteral("TWO"));
        QCOMPARE(clicked.at(1).at(0).toString(), QStringLiteral("ONE"));
        QVERIFY(b.bar->ButtonValue(QStringLiteral("TWO"))); // latched
        QVERIFY(!b.bar->ButtonValue(QStringLiteral("ONE")));
    }

    void clearAllStartsAgainWithTheFirstElements()
    {
        Bar b(400);
        b.add("A", 0);
        b.add("B", 0);
        b.add("C", 0, false);
        QToolButton *firstPush = b.button(QStringLiteral("A"));
        b.bar->ClearAll();
        QVERIFY(!b.button(QStringLiteral("A")));
        QVERIFY(!b.button(QStringLiteral("B")));
        QCOMPARE(b.bar->findChildren<QToolButton *>().size(), 2); // the two element 0s, hidden
        QVERIFY(!b.bar->ButtonVisible(QStringLiteral("A")));

        QSignalSpy clicked(b.bar, &RightHandToolbar::ButtonClicked);
        b.add("D", 0);
        QCOMPARE(b.button(QStringLiteral("D")), firstPush);
        QTest::mouseClick(firstPush, Qt::LeftButton);
        QCOMPARE(clicked.value(0).value(0).toString(), QStringLiteral("D"));
    }

    void everyKeyHasItsOwnGlyph()
    {
        QList<QImage> seen;
        for (const QString &key : tavo::toolbarIconKeys()) {
            const QIcon icon = tavo::toolbarIcon(key);
            QVERIFY2(!icon.isNull(), qPrintable(key));
            for (const int size : {16, 32, 40}) {
                const QImage image = icon.pixmap(QSize(size, size)).toImage();
                QCOMPARE(image.size(), QSize(size, size));
                int painted = 0;
                for (int y = 0; y < size; ++y)
                    for (int x = 0; x < size; ++x)
                        painted += qAlpha(image.pixel(x, y)) > 0;
                QVERIFY2(painted > size * size / 10, qPrintable(key)); // drawn, not blank
                QVERIFY2(painted < size * size, qPrintable(key));      // and on a clear ground
            }
            const QImage normal = icon.pixmap(16, QIcon::Normal).toImage();
            QVERIFY(normal != icon.pixmap(16, QIcon::Disabled).toImage());
            QVERIFY2(!seen.contains(normal), qPrintable(key));
            seen << normal;
        }
        QVERIFY(tavo::toolbarIcon(QStringLiteral("nope")).isNull());
        QVERIFY(!tavo::applicationIcon().isNull());
    }
};

QTEST_MAIN(TestToolbar)
#include "tst_toolbar.moc"
