#pragma once

#include "mainwindow/ConfigData.h"

#include <initializer_list>
#include <utility>

// Configurations for the file, image and window tests.
namespace samples {

// A message of (value, type) pairs; the slots after it stay zero so that
// it survives a trip through a file unchanged.
inline SerialEditorData message(std::initializer_list<std::pair<int, int>> bytes, bool canIgnore = false,
                                int cursor = 0)
{
    SerialEditorData m;
    int i = 0;
    for (const auto &[value, type] : bytes) {
        m.SetByteValue(i, static_cast<std::int16_t>(value));
        m.SetByteType(i, static_cast<std::int16_t>(type));
        ++i;
    }
    m.SetNumberOfBytesInMessage(static_cast<std::int16_t>(i));
    m.SetCurrentByte(static_cast<std::int16_t>(cursor));
    m.SetCanDoIgnore(canIgnore);
    return m;
}

// Every output different from the others and from a new configuration:
// both modes, every byte type, a full 14-byte code, an empty code.
inline ConfigData varied()
{
    using T = SerialEditorData::Type;
    ConfigData c;
    c.OnMessages[0] = message({{'O', T::Ascii}, {'N', T::Ascii}, {13, T::Control}}, false, 3);
    c.OffMessages[0] = message({{'O', T::Ascii}, {'F', T::Ascii}, {'F', T::Ascii}, {13, T::Control}});
    c.OnMessages[1] = message({{2, T::Control}, {0xA5, T::Hexadecimal}, {63, T::Ignore}, {3, T::Control}}, true);
    c.OnMessages[2] = message({{200, T::Decimal}, {0b1010, T::Binary}, {255, T::Hexadecimal}});
    c.OffMessages[2] = message({{0, T::Decimal}});
    SerialEditorData full;
    for (int i = 0; i < SerialEditorData::MaxBytes; ++i) {
        full.SetByteValue(i, static_cast<std::int16_t>(240 + i));
        full.SetByteType(i, static_cast<std::int16_t>(i % 5));
    }
    full.SetNumberOfBytesInMessage(SerialEditorData::MaxBytes);
    full.SetCurrentByte(SerialEditorData::MaxBytes);
    c.OnMessages[3] = full;
    c.OffMessages[5] = message({{'x', T::Ascii}}, true, 1);
    c.OnMessages[7] = message({{27, T::Control}, {'Z', T::Ascii}});
    for (int n = 0; n < ConfigData::OutputCount; ++n) {
        const auto i = static_cast<std::size_t>(n);
        c.OnPeriods[i] = static_cast<std::int16_t>(n * 36);
        c.PulseModes[i] = (n % 3) == 1;
    }
    c.BaudIndex = 4;
    c.ParityIndex = 2;
    return c;
}

inline bool sameMessages(const ConfigData &a, const ConfigData &b, int output)
{
    const auto i = static_cast<std::size_t>(output);
    return a.OnMessages[i].IsTheSameAs(b.OnMessages[i]) && a.OffMessages[i].IsTheSameAs(b.OffMessages[i])
        && a.OnMessages[i].CurrentByte() == b.OnMessages[i].CurrentByte()
        && a.OffMessages[i].CurrentByte() == b.OffMessages[i].CurrentByte();
}

inline bool sameOutput(const ConfigData &a, const ConfigData &b, int output)
{
    const auto i = static_cast<std::size_t>(output);
    return sameMessages(a, b, output) && a.OnPeriods[i] == b.OnPeriods[i] && a.PulseModes[i] == b.PulseModes[i];
}

} // namespace samples
