#pragma once

#include <QString>
#include <QStringList>

// How file names are shown and taken from the command line.
namespace tavo {

// The file's title for the window caption and the file name panel: the
// text after the last path separator ("/", and "\" too on Windows) with its
// four-character extension removed. Without any separator the first
// character is dropped as well, as if the name began with one; nothing is
// left of a name too short to hold an extension.
QString fileTitle(const QString &path);

// The window caption: the product and version when untitled, else the title.
QString windowCaption(const QString &currentFileName);

// The configuration named on the command line: the positional arguments as
// one text (a path with blanks that reached us in pieces is put back
// together), less one leading and then one trailing double quote.
QString configFileFromArguments(const QStringList &positional);

} // namespace tavo
