#pragma once

#include <QLoggingCategory>

// What the program swallows on purpose (input it refuses, a fault it
// recovers from) is logged here so that a maintainer can tell a bad input
// from a program error. Only debug and info messages are written, and they
// are off unless asked for: QT_LOGGING_RULES="tavo.ui.debug=true".

// tavo.ui: the message editor and the other controls.
Q_DECLARE_LOGGING_CATEGORY(lcUi)
