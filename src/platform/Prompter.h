#pragma once

#include <QString>

// Modal messages to the user, with the exact text, title, icon and buttons.
// The program shows QMessageBox; the tests script the answers and read back
// what was shown; the command-line tool prints "TITLE: MESSAGE".
class Prompter
{
public:
    enum class Icon { None, Information, Question, Exclamation, Critical };
    enum class Buttons { Ok, YesNo, YesNoCancel };
    enum class Answer { Ok, Yes, No, Cancel };

    virtual ~Prompter() = default;

    virtual Answer show(const QString &text, const QString &title, Icon icon, Buttons buttons = Buttons::Ok,
                        Answer defaultAnswer = Answer::Ok) = 0;
};
