#pragma once

#include <QIcon>
#include <QString>

// The program's icons, drawn as simple vector glyphs on a 16 x 16 grid and
// rendered at whatever size and scale factor is asked for, so they are sharp
// on every screen without a set of bitmaps per resolution.
namespace tavo {

// The toolbar keys that have a glyph: NEW, OPEN, SAVE, SAVEAS, EXPORT,
// SETTINGS, TEST, DOWNLOAD, EXITCROSS, MIN, HELP, ABOUT.
QStringList toolbarIconKeys();

// The glyph of a toolbar key; a null icon for an unknown key.
QIcon toolbarIcon(const QString &key);

// The window and desktop icon: the unit itself, eight output lamps.
QIcon applicationIcon();

} // namespace tavo
