// Codes a unit cannot tell apart: a table of configurations and what the
// check finds in each.

#include "ConfigCheck.h"
#include "support/Messages.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

using Type = SerialEditorData::Type;

// "2on=GO" puts GO into output 2's On code ('?' is an Ignore byte, '#' a
// value of 256, '~' one of -1, a final '.' deletes the byte before it but
// leaves its value in the slot); "3pulse" makes output 3 a pulse output.
ConfigData configuration(const QStringList &items)
{
    ConfigData config;
    const auto code = [](const QString &text) {
        SerialEditorData m = samples::code(text.toLatin1(), Type::Ascii, '?');
        for (int i = 0; i < text.size(); ++i) {
            if (text.at(i) == u'#' || text.at(i) == u'~')
                m.SetByteValue(i, text.at(i) == u'#' ? 256 : -1);
        }
        if (text.endsWith(u'.'))
            m.SetNumberOfBytesInMessage(std::int16_t(text.size() - 2));
        return m;
    };
    for (const QString &item : items) {
        const auto n = static_cast<std::size_t>(item.at(0).digitValue() - 1);
        if (item.mid(1) == u"pulse"_s)
            config.PulseModes[n] = true;
        else if (item.mid(1, 3) == u"on="_s)
            config.OnMessages[n] = code(item.mid(4));
        else
            config.OffMessages[n] = code(item.mid(5));
    }
    return config;
}

} // namespace

class TestConfigCheck : public QObject
{
    Q_OBJECT

private slots:
    void findings_data()
    {
        // "LINE kind: code, code" for each finding, in order.
        QTest::addColumn<QStringList>("items");
        QTest::addColumn<QStringList>("expected");

        const auto row = [](const char *name, const QStringList &items, const QStringList &expected) {
            QTest::newRow(name) << items << expected;
        };
        row("nothing configured", {}, {});
        row("a complete output", {u"1on=ON"_s, u"1off=OFF"_s}, {});
        row("on equals off", {u"1on=AB"_s, u"1off=AB"_s}, {u"2 on-equals-off: Output 1 On, Output 1 Off"_s});
        row("Ignore in the On code covers the Off code", {u"1on=A?"_s, u"1off=AB"_s},
            {u"2 on-equals-off: Output 1 On, Output 1 Off"_s});
        row("different bytes", {u"1on=AB"_s, u"1off=AC"_s}, {});
        row("Ignore bytes on both sides at different places", {u"1on=A?"_s, u"1off=?C"_s}, {});
        row("same code on two outputs", {u"1on=GO"_s, u"2on=GO"_s, u"1off=S1"_s, u"2off=S2"_s},
            {u"2 same-code: Output 1 On, Output 2 On"_s});
        row("a short code inside a longer one", {u"1on=ON"_s, u"1off=X"_s, u"2on=TURN ON"_s, u"2off=Y"_s},
            {u"2 inside: Output 1 On, Output 2 On"_s});
        row("inside within one output", {u"4on=ON"_s, u"4off=ONX"_s},
            {u"14 inside: Output 4 On, Output 4 Off"_s});
        row("Ignore byte of the shorter code", {u"1on=X?Z"_s, u"1off=K"_s, u"2on=AXYZ"_s, u"2off=L"_s},
            {u"2 inside: Output 1 On, Output 2 On"_s});
        // Whatever a sender puts into the longer code's Ignore byte is not
        // counted on: no finding.
        row("Ignore byte of the longer code", {u"1on=XA?"_s, u"1off=K"_s, u"2on=AB"_s, u"2off=L"_s}, {});
        // Codes are named in file order, whichever is inside which.
        row("14-byte codes",
            {u"1on=ABCDEFGHIJKLMN"_s, u"1off=Z"_s, u"2on=ABCDEFGHIJKLMN"_s, u"3on=MN"_s, u"3pulse"_s},
            {u"2 same-code: Output 1 On, Output 2 On"_s, u"2 inside: Output 1 On, Output 3 On"_s,
             u"6 inside: Output 2 On, Output 3 On"_s, u"7 no-off-code: Output 2"_s});
        row("a pulse output's Off code is unused",
            {u"1on=A"_s, u"1off=A"_s, u"1pulse"_s, u"2on=B"_s, u"2pulse"_s}, {});
        row("Ignore bytes only", {u"1on=??"_s, u"1off=X?"_s}, {u"2 matches-anything: Output 1 On"_s});
        row("no Off code", {u"3on=A"_s}, {u"11 no-off-code: Output 3"_s});
        row("no On code", {u"3off=A"_s}, {u"10 no-on-code: Output 3"_s});
        // Only a damaged file read leniently has one; a pulse output's Off
        // code never reaches the unit.
        row("a code of 15 bytes",
            {u"2on=ABCDEFGHIJKLMNO"_s, u"2off=Z"_s, u"3on=Y"_s, u"3off=ABCDEFGHIJKLMNO"_s, u"3pulse"_s},
            {u"6 too-long: Output 2 On"_s});
        // Up on 255, or a paste of text made elsewhere, gives them; so does a
        // slot the code no longer uses, which the image carries all the same.
        // One finding a code, and none for a pulse output's Off code.
        row("bytes that do not fit",
            {u"1on=A#~"_s, u"1off=B~"_s, u"2on=Z"_s, u"2off=#"_s, u"2pulse"_s, u"3on=C#."_s, u"3off=D"_s},
            {u"2 not-a-byte: Output 1 On"_s, u"3 not-a-byte: Output 1 Off"_s,
             u"10 not-a-byte: Output 3 On"_s});
    }

    void findings()
    {
        QFETCH(QStringList, items);
        QFETCH(QStringList, expected);

        QStringList found;
        for (const tavo::ConfigFinding &f : tavo::checkConfig(configuration(items))) {
            found << u"%1 %2: %3"_s.arg(f.line).arg(f.kind, f.codes.join(u", "_s));
            // The message names every code involved.
            for (const QString &name : f.codes)
                QVERIFY2(f.message.contains(name), qPrintable(f.message));
            QCOMPARE(f.isError(), f.kind == u"on-equals-off"_s || f.kind == u"matches-anything"_s
                                      || f.kind == u"too-long"_s || f.kind == u"not-a-byte"_s);
        }
        QCOMPARE(found.join(u" | "_s), expected.join(u" | "_s));
    }

    void summaryCountsBoth()
    {
        const auto findings =
            tavo::checkConfig(configuration({u"1on=AB"_s, u"1off=AB"_s, u"2on=X"_s, u"3off=Y"_s}));
        QCOMPARE(tavo::findingsSummary(findings), u"1 error, 2 warnings"_s);
        QCOMPARE(tavo::findingsSummary({}), QString());
    }
};

QTEST_GUILESS_MAIN(TestConfigCheck)
#include "tst_configcheck.moc"
