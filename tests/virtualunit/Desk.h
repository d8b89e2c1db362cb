#pragma once

// The editor with examples/demo.OTS open (codes at 19200,e,8,1; output 2 in
// pulse mode for 5 s) and the Virtual unit window beside it, showing the
// unit of `line`, which the editor's dialogs reach through `link`.
#include "DeviceUnitServices.h"
#include "RightHandToolbar.h"
#include "SerialTavo.h"
#include "SettingsKeyValueStore.h"
#include "SimulatedUnit.h"
#include "UnitLamps.h"
#include "UnitLine.h"
#include "VirtualUnitWindow.h"
#include "device/DialogBench.h"
#include "support/ConfigSamples.h"
#include "support/ScriptedCommonDialog.h"

#include <QLabel>
#include <QListWidget>
#include <QTimer>

#include <functional>
#include <memory>

struct Desk {
    ScriptedPrompter prompter;
    ScriptedCommonDialog files;
    samples::RecordingShell shell;
    std::unique_ptr<KeyValueStore> store = SettingsKeyValueStore::inMemory();
    DeviceUnitServices units;
    SerialTavo window{SerialTavo::Services{&prompter, &files, &shell, &units}};
    std::unique_ptr<VirtualUnitWindow> unit;

    Desk(SerialLink &link, Waiter &waiter, UnitLine &line, const QString &where)
        : units(link, waiter, prompter, *store)
    {
        window.start({qEnvironmentVariable("TAVO_SOURCE_DIR") + QStringLiteral("/examples/demo.OTS")});
        window.show();
        unit = openVirtualUnit(line, where, window, units);
        unit->show();
    }

    // Runs a toolbar command whose dialog does `work` once its search is
    // over; the modal dialog's own event loop runs it.
    void command(const char *key, std::function<void(UnitDialog &)> work)
    {
        units.dialogOpened = [work = std::move(work)](UnitDialog &dialog) {
            QObject::connect(
                &dialog, &UnitDialog::searchFinished, &dialog,
                [&dialog, work] { QTimer::singleShot(0, &dialog, [&dialog, work] { work(dialog); }); },
                Qt::SingleShotConnection);
        };
        click(*window.RightHandToolbar1(), QString::fromLatin1(key));
    }
    // DOWNLOAD to the unit in slot 1, with `meanwhile` done between the
    // search and "Program Tavo".
    void download(const std::function<void()> &meanwhile = {})
    {
        command("DOWNLOAD", [meanwhile](UnitDialog &dialog) {
            if (meanwhile)
                meanwhile();
            click(dialog, QStringLiteral("Option1_0"));
            click(dialog, QStringLiteral("ProgramVell"));
        });
    }

    void clickUnit(const QString &name) { click(*unit, name); }
    int lit() const
    {
        int mask = 0;
        for (int n = 0; n < UnitLamps::Count; ++n)
            mask |= child<Lamp>(*unit, QStringLiteral("Lamp%1").arg(n + 1))->isLit() << n;
        return mask;
    }
    QString label(const QString &name) const { return child<QLabel>(*unit, name)->text(); }
    QStringList messages() const { return samples::shownMessages(prompter); }
    // The last line of the history without its time of day.
    QString lastHistory() const
    {
        const auto *history = child<QListWidget>(*unit, QStringLiteral("History"));
        return history->count() ? history->item(history->count() - 1)->text().mid(10) : QString();
    }
};
