#pragma once

#include "ConfigData.h"

#include <QString>
#include <QStringList>

#include <array>

// The unit's own serial line: the baud rate and parity it listens at, kept
// in the configuration as two list indexes. Data bits (8) and stop bits (1)
// are fixed.
namespace tavo {

// Index order of the settings dialog's lists (and of the files).
inline constexpr std::array<int, 7> BaudRates{9600, 2400, 4800, 14400, 19200, 28800, 38400};
// Parity list entries and the words the settings text uses for them.
QStringList parityListNames();
QStringList parityWords();

// "9600, baud, No parity, 8 Bit data, 1 Stop bit". An index outside its
// list contributes nothing (a file may carry any number there).
//
// SerialSettingsText is the name the unit's original configuration tool
// used; it keeps that spelling so the text can be traced to that tool.
QString SerialSettingsText(int baudIndex, int parityIndex);
inline QString SerialSettingsText(const ConfigData &config)
{
    return SerialSettingsText(config.BaudIndex, config.ParityIndex);
}

} // namespace tavo
