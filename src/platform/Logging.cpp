#include "platform/Logging.h"

Q_LOGGING_CATEGORY(lcUi, "tavo.ui", QtWarningMsg)
