// Start-up time and peak memory of the editor (with a configuration
// loaded) and of `tavo image`, each beside a baseline program built next to
// it: an empty QMainWindow, and a bare QCoreApplication.
//
// The editor is run exactly as built. A small probe library is preloaded
// into it (and into its baseline) that reports when the main window has
// first painted, with the peak memory at that moment, and then ends the
// program. `tavo image` and its baseline are timed to their exit.
//
//   bench_startup [--runs N] [--editor PATH] [--tavo PATH]

#include "BenchSupport.h"
#include "ConfigData.h"
#include "ConfigFile.h"
#include "Launcher.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <vector>

using namespace bench;

namespace {

constexpr double EditorTimeRatioTarget = 2.0;
constexpr double TavoTimeRatioTarget = 3.0;
constexpr double ExtraMemoryTargetKb = 20 * 1024;

// A configuration with every message at its full length, so that the
// editor has as much to load and show as it ever will.
ConfigData fullConfig()
{
    ConfigData config;
    for (int n = 0; n < ConfigData::OutputCount; ++n) {
        const auto i = static_cast<std::size_t>(n);
        for (int which = 0; which < 2; ++which) {
            SerialEditorData &m = which == 0 ? config.OnMessages[i] : config.OffMessages[i];
            m.SetNumberOfBytesInMessage(SerialEditorData::MaxBytes);
            m.SetCanDoIgnore(true);
            m.SetCurrentMode(SerialEditorData::Type(n % 4));
            for (int b = 0; b < SerialEditorData::MaxBytes; ++b) {
                const int value = (b * 9 + n * 3 + which * 100) % 256;
                const auto type = b == SerialEditorData::MaxBytes - 1 ? SerialEditorData::Type::Ignore
                                  : value < 32                        ? SerialEditorData::Type::Control
                                                                      : SerialEditorData::Type(b % 4);
                m.SetByteValue(b, static_cast<std::int16_t>(value));
                m.SetByteType(b, type);
            }
        }
        config.OnPeriods[i] = static_cast<std::int16_t>(n * 30);
        config.PulseModes[i] = n % 2 == 1;
    }
    config.BaudIndex = 2;
    config.ParityIndex = 1;
    return config;
}

struct Series {
    std::vector<double> ms;
    std::vector<double> kb;
    QString failure;

    void add(const Launch &l, bool toShown)
    {
        if (!l.failure.isEmpty()) {
            if (failure.isEmpty())
                failure = l.failure;
            return;
        }
        ms.push_back(toShown ? l.shownMs : l.exitMs);
        kb.push_back(static_cast<double>(toShown ? l.shownPeakKb : l.maxRssKb));
    }
};

void addPair(ResultTable &table, const QString &timeLabel, const QString &memoryLabel, const Series &measured,
             const Series &baseline, double timeRatioTarget)
{
    if (!measured.failure.isEmpty() || !baseline.failure.isEmpty()) {
        const QString why =
            !measured.failure.isEmpty() ? measured.failure : QStringLiteral("baseline: ") + baseline.failure;
        table.addFailure(timeLabel, why);
        table.addFailure(memoryLabel, why);
        return;
    }
    table.addRatio(timeLabel, median(measured.ms), median(baseline.ms), timeRatioTarget);
    table.addExtraMemory(memoryLabel, median(measured.kb), median(baseline.kb), ExtraMemoryTargetKb);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    const int runs = runsOption(args, 10);
    QString editor = optionValue(args, QStringLiteral("--editor"));
    if (editor.isEmpty())
        editor = QStringLiteral(TAVO_BENCH_EDITOR);
    QString tavo = optionValue(args, QStringLiteral("--tavo"));
    if (tavo.isEmpty())
        tavo = QStringLiteral(TAVO_BENCH_TAVO);
    const QString probe = QStringLiteral(TAVO_BENCH_PROBE);
    const QString windowBaseline = QStringLiteral(TAVO_BENCH_WINDOW_BASELINE);
    const QString coreBaseline = QStringLiteral(TAVO_BENCH_CORE_BASELINE);

    ResultTable table(QStringLiteral("Start-up, median of %1 runs each, offscreen").arg(runs),
                      QStringLiteral("baseline"));

    QTemporaryDir dir;
    const QString configPath = dir.filePath(QStringLiteral("bench.OTS"));
    ConfigData check;
    if (!dir.isValid() || !tavo::writeConfigFile(configPath, fullConfig()).ok()
        || !tavo::readConfigFile(configPath, check).ok()) {
        table.addFailure(QStringLiteral("configuration"),
                         QStringLiteral("cannot write a configuration to load"));
        return printAndExitCode({table});
    }
    // The editor's device-type table goes to a file of its own, not to the
    // user's settings.
    const QStringList env{QStringLiteral("TAVO_TYPES_STORE=") + dir.filePath(QStringLiteral("types.ini"))};
    const QString errors = dir.filePath(QStringLiteral("stderr.txt"));

    // The editor once more with its port slots named, so that it has no
    // reason to ask the system for its serial ports while starting: the
    // difference is what that question costs.
    const QStringList namedPorts = env + QStringList{QStringLiteral("TAVO_PORTS=,,,")};

    Series editorRuns, namedPortRuns, windowRuns, textRuns, tavoRuns, coreRuns;
    const bool haveTavo = !tavo.isEmpty();
    // One round first to bring the programs and libraries into the page
    // cache; then the programs take turns, so that a change in the
    // machine's load falls on all of them alike.
    for (int round = -1; round < runs; ++round) {
        const Launch w = launch(windowBaseline, {}, probe, env, errors);
        const Launch e = launch(editor, {configPath}, probe, env, errors);
        const Launch n = launch(editor, {configPath}, probe, namedPorts, errors);
        const Launch x = launch(windowBaseline, {QStringLiteral("--text")}, probe, env, errors);
        const Launch c = launch(coreBaseline, {}, {}, env, errors);
        Launch t;
        if (haveTavo)
            t = launch(tavo, {QStringLiteral("image"), configPath}, {}, env, errors);
        if (round < 0)
            continue;
        windowRuns.add(w, true);
        editorRuns.add(e, true);
        namedPortRuns.add(n, true);
        textRuns.add(x, true);
        coreRuns.add(c, false);
        if (haveTavo)
            tavoRuns.add(t, false);
    }

    addPair(table, QStringLiteral("serial-tavo-editor FILE.OTS: start to window shown"),
            QStringLiteral("serial-tavo-editor FILE.OTS: peak memory when shown (VmHWM)"), editorRuns,
            windowRuns, EditorTimeRatioTarget);
    if (namedPortRuns.failure.isEmpty() && windowRuns.failure.isEmpty())
        table.addRatio(QStringLiteral("serial-tavo-editor, TAVO_PORTS set (no serial port scan)"),
                       median(namedPortRuns.ms), median(windowRuns.ms), 0);
    if (textRuns.failure.isEmpty() && windowRuns.failure.isEmpty())
        table.addRatio(QStringLiteral("the baseline with one label (the first text of any window)"),
                       median(textRuns.ms), median(windowRuns.ms), 0);
    if (haveTavo)
        addPair(table, QStringLiteral("tavo image FILE.OTS: start to exit"),
                QStringLiteral("tavo image FILE.OTS: peak memory (max RSS)"), tavoRuns, coreRuns,
                TavoTimeRatioTarget);
    else
        table.addFailure(QStringLiteral("tavo image FILE.OTS"), QStringLiteral("tavo was not built"));

    table.addNote(
        QStringLiteral("baselines: an empty QMainWindow shown (for the editor), a bare QCoreApplication "
                       "that starts its loop and ends (for tavo)"));
    table.addNote(
        QStringLiteral("time from posix_spawn to the first paint of the main window, reported by a probe "
                       "library preloaded into both the editor and its baseline; tavo and its baseline to "
                       "their exit"));
    table.addNote(QStringLiteral("FILE.OTS: eight outputs with 14-byte On and Off codes"));
    return printAndExitCode({table});
}
