#include "ConsolePrompter.h"

#include "Console.h"

Prompter::Answer ConsolePrompter::show(const QString &text, const QString &title, Icon icon, Buttons buttons,
                                       Answer defaultAnswer)
{
    const Answer answer = ScriptedPrompter::show(text, title, icon, buttons, defaultAnswer);
    if (buttons == Buttons::Ok) {
        cli::out().flush();
        cli::endProgress();
        cli::err() << line(shown().constLast()) << Qt::endl;
    }
    return answer;
}

QString ConsolePrompter::line(const Shown &shown)
{
    return shown.title + QStringLiteral(": ") + shown.text;
}
