#pragma once

#include "ConfigData.h"
#include "FileWriter.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <vector>

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

// Writes the file through the program's one file writer: a failed save
// leaves an existing file byte for byte as it was, and an existing file
// that is not writable is refused rather than replaced.
FileWriter::Result writeConfigFile(const QString &path, const ConfigData &config);

struct ConfigReadResult {
    enum Status {
        Loaded,
        NotFound,    // no such file: nothing was read
        IsFolder,    // a folder, not a file: nothing was read
        OpenFailed,  // there, but could not be opened: nothing was read
        MissingLine, // the file ended early
        BadValue,    // a line that does not read as what it must hold
    };
    Status status = Loaded;
    int line = 0;  // 1-based line of a MissingLine or BadValue failure
    QString error; // OpenFailed: why, in the system's words

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

// One line of a configuration file that a careful reading refuses.
struct ConfigDamage {
    int line = 0; // 1-based
    QString what; // what is wrong there, for a person
};

// Every line of a configuration file that readConfigFile() would pass over
// (a code line that is not a packed code), stop at (a missing line, a
// number that is not one) or take although the unit cannot use it (a code
// of more than 14 bytes, a byte value, period or list index out of its
// range), and text after the 35 lines. Forms that are odd but mean one
// thing are not damage: fractions (rounded half to even), True and False
// in any letter case, a code without or with any extra pair, any header.
// The editor keeps reading such files forgivingly; the command line refuses
// them unless told otherwise, since programming a unit from a damaged file
// puts bytes into it that nobody chose.
std::vector<ConfigDamage> findConfigDamage(const QByteArray &fileText);

// A configuration is some two kilobytes; a file beyond this is not one, and
// is not read into memory whole to find that out.
inline constexpr qsizetype ConfigFileMaxBytes = 1 << 20;

// The file's bytes for findConfigDamage(), with the same statuses as
// readConfigFile() for a file that cannot be read at all: at most
// ConfigFileMaxBytes + 1 of them, so that a larger file shows as one.
ConfigReadResult readConfigBytes(const QString &path, QByteArray &bytes);

} // namespace tavo
