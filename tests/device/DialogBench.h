#pragma once

#include "LineBench.h"
#include "UnitDialog.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QDir>
#include <QSignalSpy>
#include <QTest>

// The serial side of a unit dialog in virtual time, with the built-in
// device types.
struct DialogBench : LineBench {
    UnitDialog::Parts parts() { return {link, waiter, prompter, types}; }
};

template <typename T>
T *child(QObject &parent, const QString &name)
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
    QSignalSpy finished(&dialog, &UnitDialog::searchFinished);
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
