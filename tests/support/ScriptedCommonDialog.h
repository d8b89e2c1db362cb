#pragma once

#include "CommonDialog.h"

#include <QList>
#include <QString>

// Answers from a queue of names (an empty name is a Cancel) and records
// the settings each show was made with.
class ScriptedCommonDialog : public CommonDialog
{
public:
    struct Shown {
        bool save;
        int flags;
        QString filter;
        QString proposedName;
    };

    void setNextFileName(const QString &name) { m_names.append(name); }
    const QList<Shown> &shown() const { return m_shown; }

    void showOpen() override { answer(false); }
    void showSave() override { answer(true); }

private:
    void answer(bool save)
    {
        m_shown.append({save, Flags(), Filter(), FileName()});
        SetFileName(m_names.isEmpty() ? QString() : m_names.takeFirst());
    }

    QList<QString> m_names;
    QList<Shown> m_shown;
};
