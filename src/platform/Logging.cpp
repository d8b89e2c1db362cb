#include "Logging.h"

// Only warnings and worse by default: the debug and info messages are for
// whoever turns them on.
Q_LOGGING_CATEGORY(lcSerial, "tavo.serial", QtWarningMsg)
Q_LOGGING_CATEGORY(lcFile, "tavo.file", QtWarningMsg)
Q_LOGGING_CATEGORY(lcUi, "tavo.ui", QtWarningMsg)
