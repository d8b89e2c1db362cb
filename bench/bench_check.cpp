// How long the configuration check takes: the editor runs it on every key
// the user types, so it must cost nothing a user could notice.
//
// Two configurations of sixteen codes: all of 14 bytes (the largest a unit
// holds), and codes of every length that differ only in their last byte,
// so that every comparison runs to its end at every offset.
//
//   bench_check [--runs N]

#include "BenchSupport.h"
#include "ConfigCheck.h"

#include <QCoreApplication>

#include <chrono>

using namespace bench;

namespace {

constexpr double TargetMs = 1.0; // "well under a millisecond"
constexpr int CallsPerRun = 2000;

SerialEditorData code(int length, int last)
{
    SerialEditorData m;
    m.SetNumberOfBytesInMessage(static_cast<std::int16_t>(length));
    for (int i = 0; i < length; ++i) {
        m.SetByteValue(i, static_cast<std::int16_t>(i + 1 == length ? last : 'A'));
        // An Ignore byte in each code: it matches anything on its side.
        m.SetByteType(i, i == 1 ? SerialEditorData::Type::Ignore : SerialEditorData::Type::Ascii);
    }
    return m;
}

ConfigData configuration(bool mixedLengths)
{
    ConfigData config;
    for (int n = 0; n < ConfigData::OutputCount; ++n) {
        const auto i = static_cast<std::size_t>(n);
        const int onLength = mixedLengths ? 14 - n : SerialEditorData::MaxBytes;
        const int offLength = mixedLengths ? 6 + n % 8 : SerialEditorData::MaxBytes;
        config.OnMessages[i] = code(onLength, 'a' + n);
        config.OffMessages[i] = code(offLength, 'A' + 32 + 8 + n);
    }
    return config;
}

// Median time of one check, in milliseconds.
double medianCheckMs(const ConfigData &config, int runs, std::size_t &findings)
{
    std::vector<double> perCall;
    for (int run = 0; run < runs; ++run) {
        const auto start = std::chrono::steady_clock::now();
        for (int call = 0; call < CallsPerRun; ++call)
            findings = tavo::checkConfig(config).size();
        const std::chrono::duration<double, std::milli> spent = std::chrono::steady_clock::now() - start;
        perCall.push_back(spent.count() / CallsPerRun);
    }
    return median(perCall);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const int runs = runsOption(QCoreApplication::arguments(), 9);

    ResultTable table(
        QStringLiteral("Configuration check (median of %1 runs of %2 checks)").arg(runs).arg(CallsPerRun),
        QStringLiteral("limit"));
    for (const bool mixed : {false, true}) {
        std::size_t findings = 0;
        const double ms = medianCheckMs(configuration(mixed), runs, findings);
        table.addBelow(
            mixed ? QStringLiteral("16 codes of 1 to 14 bytes, nearly alike (%1 findings)").arg(findings)
                  : QStringLiteral("16 codes of 14 bytes (%1 findings)").arg(findings),
            ms, TargetMs);
    }
    return printAndExitCode({table});
}
