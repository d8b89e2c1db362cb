#pragma once

#include "ConfigData.h"

#include <QString>
#include <QStringList>

#include <vector>

// Codes a unit cannot tell apart, found before they reach a unit.
//
// The unit switches an output when the bytes it received last are one of
// its codes. Codes that overlap (one the same as another, or inside
// another) or an On/Off output whose two codes are the same make a unit
// that misbehaves in ways hard to diagnose on site; this check names them.
//
// A "code" is the On code of any output and the Off code of an output in
// On/Off mode (a pulse output's Off code is unused). Empty codes take part
// in no comparison. Codes are compared byte by byte: a code A covers a code
// B at some offset when every byte of A is an Ignore byte or equals the
// byte of B there, that byte of B not being an Ignore byte. Then whatever a
// sender puts into B's Ignore bytes, sending B sends something the unit
// takes for A. B's own Ignore bytes are never counted on to hold anything
// in particular, so only what is certain is reported.
namespace tavo {

struct ConfigFinding {
    enum class Severity { Warning, Error };

    Severity severity = Severity::Warning;
    // "damaged", "too-long", "not-a-byte", "on-equals-off", "matches-anything",
    // "same-code", "inside", "no-off-code", "no-on-code".
    QString kind;
    // The file line of the first code involved (output n's On code is line
    // 4n + 2, its Off code 4n + 3, n from 0); for a missing code the line
    // where it belongs.
    int line = 0;
    // The codes involved, "Output 3 On", "Output 3 Off"; "Output 3" for a
    // missing code.
    QStringList codes;
    QString message;
    // The outputs those codes belong to, 0 to 7.
    std::vector<int> outputs;

    bool isError() const { return severity == Severity::Error; }
};

// Every finding for `config`, ordered by line.
std::vector<ConfigFinding> checkConfig(const ConfigData &config);

// The file line of an output's On or Off code.
int codeLine(int output, bool on);

// "1 error", "2 warnings", "1 error, 2 warnings"; empty when there is
// nothing.
QString findingsSummary(const std::vector<ConfigFinding> &findings);
int errorCount(const std::vector<ConfigFinding> &findings);

} // namespace tavo
