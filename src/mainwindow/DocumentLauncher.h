#pragma once

#include <QString>

class Prompter;
class Shell;

// Opening a document (the help page) with the desktop's viewer, and telling
// the user why it did not open.
//
// LaunchDocument and ShowLaunchError are the names the unit's original
// configuration tool used. They keep that spelling, against our
// lowerCamelCase habit, so that the launch codes and their messages can be
// traced to that tool; launchErrorText is ours.
namespace tavo {

// Asks the shell to open `path`; a launch code of 32 or less is reported
// through ShowLaunchError. Returns the launch code, so that a caller can do
// more where the shell's answer is shown no message.
int LaunchDocument(Shell &shell, Prompter &prompter, const QString &path);

// The message for a failed launch code, "!" included; empty when the code
// is shown no message (no application associated with the file type).
QString launchErrorText(int code);

// Shows launchErrorText(code) titled "Link Launch Error" with the critical
// icon, or nothing when the text is empty.
void ShowLaunchError(Prompter &prompter, int code);

} // namespace tavo
