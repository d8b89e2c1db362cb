#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

// Number reading shared by every reader of outside text: packed messages,
// configuration files, the period spinner and the device-type store.
//
// Two flavours exist because the file formats need both:
//  - leadingNumber() takes whatever number starts the text and ignores the
//    rest ("12abc" is 12, "abc" is 0). Packed message fields and spinner text
//    are read this way, so a stray character never makes them unreadable.
//  - wholeNumber() / wholeBoolean() accept a line only when all of it is a
//    number (or a boolean word); configuration file lines are read this way,
//    so that a damaged file is noticed instead of silently loading zeros.
namespace tavo {

// Leading blanks are skipped; an optional sign, digits, a fraction and an
// exponent are taken, or "&H" followed by hexadecimal digits ("&O" octal).
// Text with no number gives 0. Never throws.
double leadingNumber(std::string_view text);

// The number when the whole text (blanks around it allowed) is one number
// in the forms above, otherwise nothing.
std::optional<double> wholeNumber(std::string_view text);

// Numbers (non-zero is true) and the words True and False in any letter case.
std::optional<bool> wholeBoolean(std::string_view text);

// Rounds to the nearest integer, halves to even (2.5 -> 2, 3.5 -> 4).
// Throws std::overflow_error when the result does not fit 16 bits signed
// (also for infinities and NaN).
std::int16_t roundToInt16(double value);

// leadingNumber() then roundToInt16(): the conversion of packed fields.
std::int16_t leadingInt16(std::string_view text);

} // namespace tavo
