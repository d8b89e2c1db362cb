#pragma once

#include "ConfigData.h"

#include <functional>

// The 256-byte configuration image the unit runs from (downloaded into it,
// and the payload of the export file):
//
//   0-7        periods of outputs 0-7
//   8          mode mask, bit n set when output n is in pulse mode
//   9          baud code (index 0..6 -> 2, 0, 1, 3, 4, 5, 6)
//   10         parity code (index 0..2 -> 0, 2, 1)
//   11-15      not written
//   16 + 15n   On code length of output n, then its 14 byte slots
//   136 + 15n  Off code length of output n (0 in pulse mode), then its 14
//              byte slots (not written in pulse mode)
//
// A baud or parity index outside its list has no code of its own: that byte
// repeats the byte before it (byte 9 the mode mask, byte 10 byte 9).
namespace tavo {

inline constexpr int ImageModeMask = 8;
inline constexpr int ImageBaudCode = 9;
inline constexpr int ImageParityCode = 10;
inline constexpr int ImageOnCodes = 16;
inline constexpr int ImageOffCodes = 136;
inline constexpr int ImageCodeStride = 15;

// Fills config.ConfigImage. `collate(n)` is called before output n's
// messages are read, so that a window can first copy what its editors hold
// into the configuration. Bytes not listed above keep what they held.
//
// A value that does not fit a byte (a period, a message length or a byte
// value outside 0..255) throws std::overflow_error; the bytes before it
// have been written by then.
//
// BuildConfigImage is the name the unit's original configuration tool
// used; it keeps that spelling so the image can be traced to that tool.
void BuildConfigImage(ConfigData &config, const std::function<void(int output)> &collate = {});

} // namespace tavo
