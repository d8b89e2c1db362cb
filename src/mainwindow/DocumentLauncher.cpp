#include "DocumentLauncher.h"

#include "Prompter.h"
#include "Shell.h"

namespace tavo {

int LaunchDocument(Shell &shell, Prompter &prompter, const QString &path)
{
    const int code = shell.open(path);
    if (code <= 32)
        ShowLaunchError(prompter, code);
    return code;
}

QString launchErrorText(int code)
{
    QString text;
    switch (code) {
    case 2: text = QStringLiteral("File not found"); break;
    case 3: text = QStringLiteral("Path not found"); break;
    case 5: text = QStringLiteral("Access denied"); break;
    case 8: text = QStringLiteral("Out of memory"); break;
    case 11: text = QStringLiteral("Invalid EXE file or error in EXE image"); break;
    // Tied to 15 on purpose; the shell's own sharing code (26) falls to
    // "Unknown error".
    case 15: text = QStringLiteral("A sharing violation occurred"); break;
    case 27: text = QStringLiteral("Incomplete or invalid file association"); break;
    case 28: text = QStringLiteral("DDE Time out"); break;
    case 29: text = QStringLiteral("DDE transaction failed"); break;
    case 30: text = QStringLiteral("DDE busy"); break;
    // No viewer associated with the file type: deliberately silent.
    case 31: return {};
    case 32: text = QStringLiteral("DLL not found"); break;
    default: text = QStringLiteral("Unknown error"); break;
    }
    return text + QLatin1Char('!');
}

void ShowLaunchError(Prompter &prompter, int code)
{
    const QString text = launchErrorText(code);
    if (text.isEmpty())
        return;
    prompter.show(text, QStringLiteral("Link Launch Error"), Prompter::Icon::Critical, Prompter::Buttons::Ok,
                  Prompter::Answer::Ok);
}

} // namespace tavo
