#pragma once

#include "CommonDialog.h"

class QWidget;

// The Open and Save As dialogs of the desktop.
class FileDialog : public CommonDialog
{
public:
    explicit FileDialog(QWidget *parent = nullptr)
        : m_parent(parent)
    {}
    void setParent(QWidget *parent) { m_parent = parent; }

    void showOpen() override;
    void showSave() override;

    // "Olvex ... File (*.OTS)|*.OTS" -> "Olvex ... File (*.OTS *.ots)"; the
    // pattern after the bar is the one matched, in any letter case.
    static QString qtFilter(const QString &filter);

private:
    void show(bool save);
    QWidget *m_parent;
};
