#pragma once

#include <QByteArray>
#include <QString>

// The names and version texts the program shows and writes.
namespace tavo {

// "1.0.3": major.minor.revision of the build.
QString versionText();
// The window caption of an untitled configuration, "Serial Tavo Editor 1.0.3".
QString productCaption();
// First line of a configuration file, "Serial Tavo1.0.3" (no blank: older
// units' tools wrote it so and nothing ever reads it back).
QByteArray configFileHeader();

} // namespace tavo
