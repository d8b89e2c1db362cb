#pragma once

#include <QLoggingCategory>

// What the program keeps quiet about but a maintainer may want to see: a
// fault the user-visible behaviour deliberately swallows (a write to a
// port that went away, a file that could not be replaced, a paste that was
// refused). Off by default; `tavo --verbose` or QT_LOGGING_RULES turns a
// category on, e.g. QT_LOGGING_RULES="tavo.*=true".
Q_DECLARE_LOGGING_CATEGORY(lcSerial) // tavo.serial: the serial line and the protocol on it
Q_DECLARE_LOGGING_CATEGORY(lcFile)   // tavo.file: files read and written
Q_DECLARE_LOGGING_CATEGORY(lcUi)     // tavo.ui: the windows and the editor
