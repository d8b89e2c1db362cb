#pragma once

#include "mainwindow/ConfigData.h"

#include <QByteArray>
#include <QString>

#include <functional>

// The configuration file (.OTS): 35 lines ended CR LF, Latin-1.
//
//   1        "Serial Tavo" + version (never checked when reading)
//   2 + 4n   On code of output n, packed message text
//   3 + 4n   Off code of output n (written in pulse mode too)
//   4 + 4n   period of output n
//   5 + 4n   mode of output n, "-1" pulse, "0" separate On/Off codes
//   34, 35   baud index, parity index
//
// The file has no length or checksum: reading relies on the line order,
// and a damaged file loads as far as it goes (see readConfigFile).
namespace tavo {

inline constexpr int ConfigFileLineCount = 35;

// The whole file. Throws what packing a message throws (a message whose
// count lies beyond its slots).
QByteArray configFileText(const ConfigData &config);

// Writes the file through QSaveFile, so a failed save leaves an existing
// file byte for byte as it was. An existing file that is not writable is
// refused rather than replaced. False on any failure.
bool writeConfigFile(const QString &path, const ConfigData &config);

struct ConfigReadResult {
    enum Status {
        Loaded,
        NotFound,    // no such file: nothing was read
        OpenFailed,  // there, but could not be opened: nothing was read
        MissingLine, // the file ended early
        BadValue,    // a line that does not read as what it must hold
    };
    Status status = Loaded;
    int line = 0; // 1-based line of a MissingLine or BadValue failure

    bool ok() const { return status == Loaded; }
};

// Reads a configuration into `config`, line by line, and stops at the first
// line that is missing or cannot be read. What was read before that stays
// in `config`: outputs already read keep their new values, the baud index
// may be new while the parity index is old. `outputRead(n)` is called after
// the four lines of output n have been stored, so a window can show each
// output as it arrives.
//
// A message line that is not a packed message leaves that message as it
// was and reading goes on; a message line that overflows the message is a
// bad value. The header line is not looked at.
ConfigReadResult readConfigFile(const QString &path, ConfigData &config,
                                const std::function<void(int output)> &outputRead = {});

} // namespace tavo
