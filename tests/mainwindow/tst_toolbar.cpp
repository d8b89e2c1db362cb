#include "mainwindow/RightHandToolbar.h"
#include "mainwindow/ToolbarIcons.h"

#include <QImage>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>

namespace {

constexpr int W = RightHandToolbar::ButtonWidth / 15; // button width in pixels

struct Bar {
    QWidget window;
    RightHandToolbar *bar = new RightHandToolbar(&window);
    QSignalSpy clicked{bar, &RightHandToolbar::ButtonClicked};

    explicit Bar(int width, std::initializer_list<std::pair<const char *, int>> buttons)
    {
        bar->resize(width, bar->height());
        window.show();
        for (const auto &[key, group] : buttons) {
            const QString k = QString::fromLatin1(key);
            // Keys in lower case are two-state buttons.
            bar->AddButton(k, tavo::toolbarIcon(QStringLiteral("NEW")), group, k + u'!', k.toUpper() == k);
        }
    }
    QToolButton *button(const char *key) const
    {
        return bar->findChild<QToolButton *>(QString::fromLatin1(key));
    }
    int x(const char *key) const { return button(key)->x(); }
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
    }

    void groupsFollowThePackingRules()
    {
        QFETCH(int, width);
        Bar b(width, {{"L1", 0}, {"A", 1}, {"C1", 2}, {"L2", 0}, {"B", 1}, {"C2", 2}, {"c", 1}, {"L3", 7}});
        b.bar->ForceResize();
        // From the left: 60 twips in, touching, in the order added (an
        // unknown group packs from the left too).
        QCOMPARE(b.x("L1"), 4);
        QCOMPARE(b.x("L2"), 4 + W);
        QCOMPARE(b.x("L3"), 4 + 2 * W);
        // From the right: added A, B, c; shown c B A, the last ending 30
        // twips inside the frame (30 twips in, 200 twips short of the bar).
        QCOMPARE(b.x("B"), b.x("A") - W);
        QCOMPARE(b.x("c"), b.x("B") - W);
        QVERIFY(qAbs(b.x("A") + W - (width * 15 - 200) / 15.0) <= 1);
        // Centred: side by side, symmetric about the middle.
        QCOMPARE(b.x("C2"), b.x("C1") + W);
        QVERIFY(qAbs(b.x("C1") + W - width / 2.0) <= 1);
        QCOMPARE(b.button("A")->y(), 2);

        // Later resizes lay out again; the right group follows the edge.
        const int before = b.x("A");
        b.bar->resize(width + 90, b.bar->height());
        QCOMPARE(b.x("A"), before + 90);
    }

    void nothingIsPlacedBeforeForceResize()
    {
        Bar b(500, {{"R", 1}});
        b.bar->resize(480, b.bar->height());
        QCOMPARE(b.x("R"), 0);
        b.bar->ForceResize();
        QVERIFY(b.x("R") > 400);
    }

    void propertiesAndClicksByKey()
    {
        Bar b(400, {{"SAVE", 0}, {"latch", 0}, {"SAVE", 1}});
        const QList<QToolButton *> saves = b.bar->findChildren<QToolButton *>(QStringLiteral("SAVE"));
        QCOMPARE(saves.size(), 2);
        b.bar->SetButtonEnable(QStringLiteral("SAVE"), false); // the first with the key only
        QVERIFY(!b.bar->ButtonEnable(QStringLiteral("SAVE")));
        QVERIFY(!saves[0]->isEnabled() && saves[1]->isEnabled());
        b.bar->SetButtonTooltipText(QStringLiteral("SAVE"), QStringLiteral("new tip"));
        QCOMPARE(b.bar->ButtonTooltipText(QStringLiteral("SAVE")), QStringLiteral("new tip"));
        QCOMPARE(saves[1]->toolTip(), QStringLiteral("SAVE!"));
        b.bar->SetButtonVisible(QStringLiteral("latch"), false);
        QVERIFY(!b.bar->ButtonVisible(QStringLiteral("latch")));
        // Keys are exact; an unknown one changes nothing and reads empty.
        b.bar->SetButtonEnable(QStringLiteral("save"), true);
        QVERIFY(!saves[0]->isEnabled());
        QVERIFY(!b.bar->ButtonEnable(QStringLiteral("NOPE")));
        QVERIFY(b.bar->ButtonTooltipText(QStringLiteral("NOPE")).isEmpty());

        b.bar->SetButtonVisible(QStringLiteral("latch"), true);
        QTest::mouseClick(b.button("latch"), Qt::LeftButton);
        QTest::mouseClick(saves[1], Qt::LeftButton);
        QCOMPARE(b.clicked.size(), 2);
        QCOMPARE(b.clicked[0][0].toString(), QStringLiteral("latch"));
        QCOMPARE(b.clicked[1][0].toString(), QStringLiteral("SAVE"));
        QVERIFY(b.bar->ButtonValue(QStringLiteral("latch"))); // it latched
    }

    void clearAllStartsAgainWithTheFirstElements()
    {
        Bar b(400, {{"A", 0}, {"B", 0}, {"c", 0}});
        QToolButton *firstPush = b.button("A");
        b.bar->ClearAll();
        QVERIFY(!b.button("A") && !b.button("B"));
        QCOMPARE(b.bar->findChildren<QToolButton *>().size(), 2); // the two hidden first elements
        b.bar->AddButton(QStringLiteral("D"), QIcon(), 0, QString(), true);
        QCOMPARE(b.button("D"), firstPush);
        QTest::mouseClick(firstPush, Qt::LeftButton);
        QCOMPARE(b.clicked.value(0).value(0).toString(), QStringLiteral("D"));
    }

    void everyKeyHasItsOwnGlyph()
    {
        QList<QImage> seen;
        for (const QString &key : tavo::toolbarIconKeys()) {
            const QIcon icon = tavo::toolbarIcon(key);
            for (const int size : {16, 40}) {
                const QImage image = icon.pixmap(QSize(size, size)).toImage();
                int painted = 0;
                for (int y = 0; y < size; ++y)
                    for (int x = 0; x < size; ++x)
                        painted += qAlpha(image.pixel(x, y)) > 0;
                // Drawn, on a clear ground, at the size asked for.
                QVERIFY2(painted > size * size / 10 && painted < size * size, qPrintable(key));
            }
            const QImage normal = icon.pixmap(16).toImage();
            QVERIFY(normal != icon.pixmap(16, QIcon::Disabled).toImage());
            QVERIFY2(!seen.contains(normal), qPrintable(key));
            seen << normal;
        }
        QVERIFY(tavo::toolbarIcon(QStringLiteral("nope")).isNull());
    }
};

QTEST_MAIN(TestToolbar)
#include "tst_toolbar.moc"
