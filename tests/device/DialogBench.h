#pragma once

#include "device/UnitDialog.h"
#include "device/VellTypes.h"
#include "mainwindow/ConfigData.h"
#include "platform/ScriptedPrompter.h"
#include "sim/SimulatedLink.h"
#include "sim/VirtualClock.h"
#include "sim/VirtualWaiter.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QDir>
#include <QSignalSpy>
#include <QTest>

// The serial side of a unit dialog in virtual time: four simulated ports
// (all missing until a test puts something there), a scripted prompter and
// the built-in device types.
struct DialogBench {
    VirtualClock clock;
    SimulatedLink link{clock};
    VirtualWaiter waiter{clock};
    ScriptedPrompter prompter;
    VellTypes types;
    ConfigData config;

    UnitDialog::Parts parts() { return {link, waiter, prompter, types}; }

    // Events on the line after virtual time `fromMs` (writes and opens).
    int eventsAfter(qint64 fromMs, SimulatedLink::Event::Kind kind) const
    {
        int n = 0;
        for (const SimulatedLink::Event &e : link.events())
            n += e.timeMs > fromMs && e.kind == kind;
        return n;
    }
    int opensOf(int port) const
    {
        int n = 0;
        for (const SimulatedLink::Event &e : link.events())
            n += e.kind == SimulatedLink::Event::Kind::Open && e.port == port;
        return n;
    }
};

template <typename T> T *child(QObject &parent, const QString &name)
{
    T *w = parent.findChild<T *>(name);
    if (!w)
        qFatal("no child %s", qPrintable(name));
    return w;
}

inline void click(QObject &parent, const QString &name)
{
    QTest::mouseClick(child<QAbstractButton>(parent, name), Qt::LeftButton);
}

// Shows the dialog and lets its activation search run to the end.
inline bool activate(UnitDialog &dialog)
{
    QSignalSpy finished(&dialog, &UnitDialog::SearchFinished);
    dialog.show();
    QCoreApplication::processEvents();
    return finished.count() == 1;
}

// TAVO_SCREENSHOT_DIR=dir keeps a picture of the dialog.
inline bool saveScreenshot(QWidget &widget, const QString &fileName)
{
    const QString dir = qEnvironmentVariable("TAVO_SCREENSHOT_DIR");
    return dir.isEmpty() || widget.grab().save(QDir(dir).filePath(fileName));
}
