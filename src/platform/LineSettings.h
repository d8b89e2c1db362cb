#pragma once

#include <QString>

#include <optional>

// One line setting in the serial control's text form: "9600,n,8,2" is
// 9600 baud, no parity, 8 data bits, 2 stop bits.
//
// Accepted: the baud rates the serial control offered (110 up to 256000,
// including the non-standard 14400, 28800, 56000 and 128000), parity n, e,
// o, m or s in either letter case, 5 to 8 data bits, 1 or 2 stop bits, and
// nothing else (no blanks, no missing or extra fields). The protocol only
// ever writes these texts itself, so anything else is a program error and
// is refused rather than guessed at.
struct LineSettings {
    enum class Parity : char { None = 'n', Even = 'e', Odd = 'o', Mark = 'm', Space = 's' };

    int baud = 9600;
    Parity parity = Parity::None;
    int dataBits = 8;
    int stopBits = 1;

    static std::optional<LineSettings> parse(const QString &text);
    static bool isSupportedBaud(int baud);

    // Lower-case parity letter: "9600,n,8,1".
    QString toString() const;

    friend bool operator==(const LineSettings &, const LineSettings &) = default;
};
