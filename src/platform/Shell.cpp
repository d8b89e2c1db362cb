#include "Shell.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QUrl>

int DesktopShell::open(const QString &path)
{
    // openUrl() cannot tell a missing file from a missing handler, so the
    // file is looked for first: the two get different messages.
    const QFileInfo info(path);
    if (!info.exists())
        return FileNotFound;
    if (!QDesktopServices::openUrl(QUrl::fromLocalFile(info.absoluteFilePath())))
        return NoAssociation;
    return Launched;
}
