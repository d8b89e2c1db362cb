#include "RightHandToolbar.h"
#include "ToolbarIcons.h"

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
        b.bar->resize(width - 10, b.bar->height()); // before the host's first ForceResize: no layout
        QCOMPARE(b.x("A"), 0);
        b.bar->resize(width, b.bar->height());
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

    void propertiesAndClicksByKey()
    {
        Bar b(400, {{"SAVE", 0}, {"latch", 0}, {"SAVE", 1}});
        const QList<QToolButton *> saves = b.bar->findChildren<QToolButton *>(QStringLiteral("SAVE"));
        b.bar->SetButtonEnable(QStringLiteral("SAVE"), false); // the first with the key only
        QVERIFY(!saves[0]->isEnabled() && saves[1]->isEnabled());
        b.bar->SetButtonTooltipText(QStringLiteral("SAVE"), QStringLiteral("new tip"));
        QCOMPARE(saves[0]->toolTip() + saves[1]->toolTip(), QStringLiteral("new tipSAVE!"));
        // Keys are exact; an unknown one changes nothing and reads empty.
        b.bar->SetButtonEnable(QStringLiteral("save"), true);
        QVERIFY(!saves[0]->isEnabled());
        QVERIFY(!b.bar->ButtonEnable(QStringLiteral("NOPE")));

        QTest::mouseClick(b.button("latch"), Qt::LeftButton);
        QTest::mouseClick(saves[1], Qt::LeftButton);
        QCOMPARE(b.clicked.size(), 2);
        QCOMPARE(b.clicked[0][0].toString() + b.clicked[1][0].toString(), QStringLiteral("latchSAVE"));
        QVERIFY(b.bar->ButtonValue(QStringLiteral("latch"))); // it latched
    }

    void clearAllStartsAgainWithTheFirstElements()
    {
        Bar b(400, {{"A", 0}, {"B", 0}, {"c", 0}});
        QToolButton *firstPush = b.button("A");
        b.bar->ClearAll();
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
            const QImage image = tavo::toolbarIcon(key).pixmap(16).toImage();
            QVERIFY2(!image.isNull() && !seen.contains(image), qPrintable(key));
            seen << image;
        }
    }
};

QTEST_MAIN(TestToolbar)
#include "tst_toolbar.moc"
