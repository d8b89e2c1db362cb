// The configuration file (.OTS), read as the program reads a file the user
// opens: whatever is in it, into a configuration that already holds data.
//
// Invariants: no crash; a read that stops reports the missing or
// unreadable line (1 to 35), has announced exactly the outputs whose four
// lines came before it, and has left every field after that line as it
// was. A file that reads fully writes back and reads again to the same
// configuration, unless it held a code longer than the slots (which the
// reader takes and the writer refuses).
#include "ConfigFile.h"
#include "FuzzCheck.h"
#include "FuzzScratch.h"

#include <QFile>

#include <cstdint>

namespace {

using tavo::ConfigReadResult;

// Different from what any file line can give for most fields, so that a
// field the reader did not reach is told apart from one it wrote.
ConfigData scratchConfiguration()
{
    ConfigData c;
    for (int n = 0; n < ConfigData::OutputCount; ++n) {
        const auto i = static_cast<std::size_t>(n);
        for (SerialEditorData *m : {&c.OnMessages[i], &c.OffMessages[i]}) {
            for (int k = 0; k < 3; ++k) {
                m->SetByteValue(k, static_cast<std::int16_t>(100 + n * 10 + k));
                m->SetByteType(k, SerialEditorData::Type(k));
            }
            m->SetNumberOfBytesInMessage(3);
            m->SetCurrentByte(1);
            m->SetCurrentMode(SerialEditorData::Type(n % 5));
        }
        c.OnPeriods[i] = static_cast<std::int16_t>(-1000 - n);
        c.PulseModes[i] = n % 2 == 0;
    }
    c.BaudIndex = -77;
    c.ParityIndex = -78;
    return c;
}

bool sameMessage(const SerialEditorData &a, const SerialEditorData &b)
{
    return a.IsTheSameAs(b) && a.CurrentByte() == b.CurrentByte() && a.CurrentMode() == b.CurrentMode();
}

bool sameOutput(const ConfigData &a, const ConfigData &b, std::size_t i)
{
    return sameMessage(a.OnMessages[i], b.OnMessages[i]) && sameMessage(a.OffMessages[i], b.OffMessages[i])
           && a.OnPeriods[i] == b.OnPeriods[i] && a.PulseModes[i] == b.PulseModes[i];
}

bool sameConfiguration(const ConfigData &a, const ConfigData &b)
{
    for (std::size_t i = 0; i < ConfigData::OutputCount; ++i) {
        if (!sameOutput(a, b, i))
            return false;
    }
    return a.BaudIndex == b.BaudIndex && a.ParityIndex == b.ParityIndex;
}

bool holdsOverlongCode(const ConfigData &c)
{
    for (std::size_t i = 0; i < ConfigData::OutputCount; ++i) {
        if (c.OnMessages[i].NumberOfBytesInMessage() >= SerialEditorData::SlotCount
            || c.OffMessages[i].NumberOfBytesInMessage() >= SerialEditorData::SlotCount)
            return true;
    }
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QString input = fuzzScratchDir().filePath(QStringLiteral("input.OTS"));
    {
        QFile f(input);
        FUZZ_CHECK(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
        FUZZ_CHECK(f.write(reinterpret_cast<const char *>(data), static_cast<qint64>(size))
                   == static_cast<qint64>(size));
    }

    const ConfigData before = scratchConfiguration();
    ConfigData config = before;
    int announced = 0;
    const ConfigReadResult result = tavo::readConfigFile(input, config, [&](int n) {
        FUZZ_CHECK(n == announced);
        ++announced;
    });

    if (!result.ok()) {
        FUZZ_CHECK(result.status == ConfigReadResult::MissingLine
                   || result.status == ConfigReadResult::BadValue);
        FUZZ_CHECK(result.line >= 1 && result.line <= tavo::ConfigFileLineCount);
        // Output n takes lines 2 + 4n to 5 + 4n.
        FUZZ_CHECK(announced == (result.line - 2) / 4);
        for (int n = 0; n < ConfigData::OutputCount; ++n) {
            const auto i = static_cast<std::size_t>(n);
            const int first = 2 + 4 * n;
            if (result.line <= first)
                FUZZ_CHECK(sameOutput(config, before, i));
            if (result.line <= first + 2)
                FUZZ_CHECK(config.OnPeriods[i] == before.OnPeriods[i]);
            if (result.line <= first + 3)
                FUZZ_CHECK(config.PulseModes[i] == before.PulseModes[i]);
        }
        if (result.line <= 34)
            FUZZ_CHECK(config.BaudIndex == before.BaudIndex);
        FUZZ_CHECK(config.ParityIndex == before.ParityIndex);
        return 0;
    }

    FUZZ_CHECK(announced == ConfigData::OutputCount);
    const QString output = fuzzScratchDir().filePath(QStringLiteral("output.OTS"));
    if (!tavo::writeConfigFile(output, config).ok()) {
        FUZZ_CHECK(holdsOverlongCode(config));
        return 0;
    }
    ConfigData again = before;
    FUZZ_CHECK(tavo::readConfigFile(output, again).ok());
    FUZZ_CHECK(sameConfiguration(again, config));
    return 0;
}
