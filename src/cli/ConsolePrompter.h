#pragma once

#include "ScriptedPrompter.h"

// Messages of the protocol on a console: each message box with only an OK
// button is printed to stderr as "TITLE: MESSAGE" the moment it is shown,
// as the dialog would show it; questions are not printed but answered with
// their default button (so "Program another tavo" gets No) unless an
// answer was queued. Everything shown is kept for the command to look at.
class ConsolePrompter : public ScriptedPrompter
{
public:
    Answer show(const QString &text, const QString &title, Icon icon, Buttons buttons,
                Answer defaultAnswer) override;

    // "TITLE: MESSAGE".
    static QString line(const Shown &shown);
};
