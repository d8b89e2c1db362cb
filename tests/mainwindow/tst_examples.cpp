#include "ConfigSamples.h"
#include "mainwindow/ConfigFile.h"
#include "mainwindow/SerialTavo.h"
#include "outputs/OutputControl.h"
#include "platform/CommonDialog.h"
#include "platform/ScriptedPrompter.h"
#include "platform/Shell.h"

#include <QDir>
#include <QFile>
#include <QRadioButton>
#include <QTest>

#include <set>

namespace {

using T = SerialEditorData::Type;

// The example shipped in examples/demo.OTS: a shop's lighting and door
// controller using both modes and every kind of byte.
ConfigData demoConfiguration()
{
    const auto text = [](const char *s, std::initializer_list<std::pair<int, int>> tail = {}) {
        std::vector<std::pair<int, int>> bytes;
        for (const char *c = s; *c; ++c)
            bytes.emplace_back(*c, T::Ascii);
        bytes.insert(bytes.end(), tail);
        SerialEditorData m;
        int i = 0;
        for (const auto &[value, type] : bytes) {
            m.SetByteValue(i, static_cast<std::int16_t>(value));
            m.SetByteType(i++, static_cast<std::int16_t>(type));
        }
        m.SetNumberOfBytesInMessage(static_cast<std::int16_t>(i));
        m.SetCurrentByte(static_cast<std::int16_t>(i));
        return m;
    };
    ConfigData c;
    c.OnPeriods.fill(1);
    // 1 shop lights
    c.OnMessages[0] = text("LIGHTS ON", {{13, T::Control}});
    c.OffMessages[0] = text("LIGHTS OFF", {{13, T::Control}});
    // 2 door strike, released after 5 s
    c.PulseModes[1] = true;
    c.OnPeriods[1] = 5;
    c.OnMessages[1] = text("", {{2, T::Control},
                                {'D', T::Ascii},
                                {'O', T::Ascii},
                                {'O', T::Ascii},
                                {'R', T::Ascii},
                                {0x01, T::Hexadecimal},
                                {3, T::Control}});
    // 3 window display
    c.OnMessages[2] = text("", {{27, T::Control}, {'W', T::Ascii}, {1, T::Decimal}});
    c.OffMessages[2] = text("", {{27, T::Control}, {'W', T::Ascii}, {0, T::Decimal}});
    // 4 alarm siren for 30 s, whatever zone raised it
    c.PulseModes[3] = true;
    c.OnPeriods[3] = 30;
    c.OnMessages[3] = text("ALM", {{63, T::Ignore}, {63, T::Ignore}, {13, T::Control}});
    c.OnMessages[3].SetCanDoIgnore(true);
    // 5 extractor fan
    c.OnMessages[4] = text("", {{0b10100101, T::Binary}, {0b00001111, T::Binary}});
    c.OffMessages[4] = text("", {{0b10100101, T::Binary}, {0b11110000, T::Binary}});
    // 6 "open" sign
    c.OnMessages[5] = text("SIGN", {{0xFF, T::Hexadecimal}});
    c.OffMessages[5] = text("SIGN", {{0x00, T::Hexadecimal}});
    // 7 door bell: a tenth of a second is enough for the chime
    c.PulseModes[6] = true;
    c.OnPeriods[6] = 0;
    c.OnMessages[6] = text("", {{7, T::Control}, {'1', T::Ascii}});
    // 8 spare
    c.BaudIndex = 4;   // 19200
    c.ParityIndex = 1; // even
    return c;
}

QString demoPath()
{
    return qEnvironmentVariable("TAVO_SOURCE_DIR") + QStringLiteral("/examples/demo.OTS");
}

struct Quiet : Shell {
    int Open(const QString &) override { return Launched; }
};

} // namespace

class TestExamples : public QObject
{
    Q_OBJECT

private slots:
    void demoIsWhatItsGeneratorWrites()
    {
        // TAVO_WRITE_EXAMPLES=1 rewrites the file from the generator above.
        if (qEnvironmentVariableIntValue("TAVO_WRITE_EXAMPLES"))
            QVERIFY(tavo::writeConfigFile(demoPath(), demoConfiguration()));
        QFile file(demoPath());
        QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(demoPath()));
        QCOMPARE(file.readAll(), tavo::configFileText(demoConfiguration()));
    }

    void demoUsesBothModesAndEveryKindOfByte()
    {
        ConfigData c;
        QVERIFY(tavo::readConfigFile(demoPath(), c).ok());
        std::set<int> types;
        std::set<bool> modes;
        for (std::size_t n = 0; n < 8; ++n) {
            modes.insert(c.PulseModes[n]);
            for (const SerialEditorData *m : {&c.OnMessages[n], &c.OffMessages[n]})
                for (int i = 0; i < m->NumberOfBytesInMessage(); ++i)
                    types.insert(m->ByteType(i));
        }
        QCOMPARE(types,
                 (std::set<int>{T::Ascii, T::Decimal, T::Hexadecimal, T::Binary, T::Control, T::Ignore}));
        QCOMPARE(modes.size(), std::size_t(2));
    }

    void demoOpensInTheWindow()
    {
        ScriptedPrompter prompter;
        ScriptedCommonDialog dialog;
        Quiet shell;
        SerialTavo window(SerialTavo::Services{&prompter, &dialog, &shell, nullptr});
        window.Start({demoPath()});
        QCOMPARE(window.windowTitle(), QStringLiteral("demo"));
        QVERIFY(window.OutputControl1(1)
                    ->findChild<QRadioButton *>(QStringLiteral("OuputOperation_1"))
                    ->isChecked());
        QVERIFY(window.OutputControl1(0)
                    ->findChild<QRadioButton *>(QStringLiteral("OuputOperation_0"))
                    ->isChecked());
        QVERIFY(prompter.shown().isEmpty());

        // TAVO_SCREENSHOT_DIR=dir saves what the window looks like there.
        const QString shots = qEnvironmentVariable("TAVO_SCREENSHOT_DIR");
        if (shots.isEmpty())
            return;
        window.show();
        window.resize(window.sizeHint());
        QVERIFY(QDir().mkpath(shots));
        QVERIFY(window.grab().save(shots + QStringLiteral("/main-window.png")));
    }
};

QTEST_MAIN(TestExamples)
#include "tst_examples.moc"
