#pragma once

#include "Prompter.h"

#include <QList>

// A prompter for tests and headless runs: records every message and answers
// from a queue (an empty queue answers with the default button).
class ScriptedPrompter : public Prompter
{
public:
    struct Shown {
        QString text;
        QString title;
        Icon icon;
        Buttons buttons;
        Answer defaultAnswer;
    };

    Answer show(const QString &text, const QString &title, Icon icon, Buttons buttons,
                Answer defaultAnswer) override
    {
        m_shown.append({text, title, icon, buttons, defaultAnswer});
        return m_answers.isEmpty() ? defaultAnswer : m_answers.takeFirst();
    }

    void setNextAnswer(Answer answer) { m_answers.append(answer); }
    const QList<Shown> &shown() const { return m_shown; }
    void clear()
    {
        m_shown.clear();
        m_answers.clear();
    }

private:
    QList<Shown> m_shown;
    QList<Answer> m_answers;
};
