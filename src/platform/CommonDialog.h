#pragma once

#include <QList>
#include <QString>

// The Open and Save As file dialogs, keeping FileName, Flags, Filter and
// FilterIndex between uses like one long-lived dialog control does. Saving
// remembers the dialog's FileName rather than the name it was given, so
// what a previous use left here matters.
//
// Filters use the "Description (*.EXT)|*.EXT" form; the program's dialog
// matches the extensions in any letter case.
class CommonDialog
{
public:
    // Flag bits, as the callers set them.
    static constexpr int OverwritePrompt = 0x0002;
    static constexpr int FileMustExist = 0x1000;
    static constexpr int NoReadOnlyReturn = 0x8000;

    virtual ~CommonDialog() = default;

    QString FileName() const { return m_fileName; }
    void SetFileName(const QString &name) { m_fileName = name; }
    int Flags() const { return m_flags; }
    void SetFlags(int flags) { m_flags = flags; }
    QString Filter() const { return m_filter; }
    void SetFilter(const QString &filter) { m_filter = filter; }
    int FilterIndex() const { return m_filterIndex; }
    void SetFilterIndex(int index) { m_filterIndex = index; }

    // Show the dialog; on OK FileName() holds the chosen path, on Cancel it
    // is empty.
    virtual void showOpen() = 0;
    virtual void showSave() = 0;

private:
    QString m_fileName;
    int m_flags = 0;
    QString m_filter;
    int m_filterIndex = 0;
};
