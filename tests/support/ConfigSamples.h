#pragma once

#include "ConfigData.h"
#include "Shell.h"
#include "support/Files.h"
#include "support/Messages.h"

#include <QStringList>

// Configurations and file helpers shared by the configuration and window tests.
namespace samples {

// Every output different from the others and from a new configuration:
// both modes, every byte type, a full 14-byte code, empty codes. Output n
// has period 36 n and pulses when n is 1, 4 or 7.
inline ConfigData varied()
{
    ConfigData c;
    c.OnMessages[0] = message({{'O', Type::Ascii}, {'N', Type::Ascii}, {13, Type::Control}});
    c.OffMessages[0] = message({{'O', Type::Ascii}, {'F', Type::Ascii}, {13, Type::Control}});
    c.OnMessages[1] = message({{2, Type::Control}, {0xA5, Type::Hexadecimal}, {63, Type::Ignore}}, true);
    c.OnMessages[2] = message({{200, Type::Decimal}, {0b1010, Type::Binary}});
    c.OffMessages[2] = message({{0, Type::Decimal}});
    for (int i = 0; i < SerialEditorData::MaxBytes; ++i)
        c.OnMessages[3].SetByteValue(i, static_cast<std::int16_t>(240 + i));
    c.OnMessages[3].SetNumberOfBytesInMessage(SerialEditorData::MaxBytes);
    c.OffMessages[5] = message({{'x', Type::Ascii}}, true);
    c.OnMessages[7] = message({{27, Type::Control}, {'Z', Type::Ascii}});
    for (std::size_t n = 0; n < 8; ++n) {
        c.OnPeriods[n] = static_cast<std::int16_t>(n * 36);
        c.PulseModes[n] = (n % 3) == 1;
    }
    c.BaudIndex = 4;
    c.ParityIndex = 2;
    return c;
}

inline bool sameOutput(const ConfigData &a, const ConfigData &b, std::size_t n)
{
    return a.OnMessages[n].IsTheSameAs(b.OnMessages[n]) && a.OffMessages[n].IsTheSameAs(b.OffMessages[n])
           && a.OnPeriods[n] == b.OnPeriods[n] && a.PulseModes[n] == b.PulseModes[n];
}

// `text` (CR LF lines) with line `number` (from 1) replaced by `content`.
inline QByteArray withLine(const QByteArray &text, int number, const QByteArray &content)
{
    QList<QByteArray> lines = text.split('\n');
    lines[number - 1] = content + '\r';
    return lines.join('\n');
}

// Records what it is asked to open and answers with a fixed launch code.
struct RecordingShell : Shell {
    int open(const QString &path) override
    {
        opened << path;
        return code;
    }
    QStringList opened;
    int code = Shell::Launched;
};

} // namespace samples
