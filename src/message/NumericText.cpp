#include "NumericText.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

namespace tavo {
namespace {

bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

int digitValue(char c, int base)
{
    int v = -1;
    if (c >= '0' && c <= '9')
        v = c - '0';
    else if (c >= 'a' && c <= 'f')
        v = c - 'a' + 10;
    else if (c >= 'A' && c <= 'F')
        v = c - 'A' + 10;
    return v < base ? v : -1;
}

// The C library's strtod follows the process locale, which Qt sets from
// the environment: under a comma locale "1.5" would read as 1. Files must
// read the same everywhere, so use the locale-free conversion. `literal` is
// [+-]digits[.digits][e[+-]digits], as collected by scanNumber().
double parseDecimal(std::string_view literal)
{
    bool negative = false;
    if (!literal.empty() && (literal.front() == '+' || literal.front() == '-')) {
        negative = literal.front() == '-';
        literal.remove_prefix(1);
    }
    double value = 0.0;
    const auto [end, ec] = std::from_chars(literal.data(), literal.data() + literal.size(), value);
    (void)end;
    if (ec == std::errc::result_out_of_range) {
        // Too large is infinite (and faults when rounded into 16 bits); too
        // small is zero.
        const std::size_t e = literal.find('e');
        const bool tiny = e != std::string_view::npos && e + 1 < literal.size() && literal[e + 1] == '-';
        value = tiny ? 0.0 : std::numeric_limits<double>::infinity();
    }
    return negative ? -value : value;
}

struct Scan {
    double value = 0.0;
    std::size_t end = 0; // one past the last character that belongs to the number
    bool found = false;  // at least one digit was read
};

// "&H" followed by hexadecimal digits or "&O" by octal ones, at `pos`
// (nothing found when no digit follows the prefix); no scan at all when
// there is no such prefix.
std::optional<Scan> scanPrefixed(std::string_view text, std::size_t pos)
{
    if (pos + 1 >= text.size() || text[pos] != '&')
        return std::nullopt;
    const char kind = static_cast<char>(std::toupper(static_cast<unsigned char>(text[pos + 1])));
    const int base = kind == 'H' ? 16 : kind == 'O' ? 8 : 0;
    if (base == 0)
        return std::nullopt;
    Scan s;
    s.end = pos;
    double v = 0.0;
    std::size_t i = pos + 2;
    while (i < text.size() && digitValue(text[i], base) >= 0) {
        v = v * base + digitValue(text[i], base);
        ++i;
    }
    s.found = i > pos + 2;
    if (s.found) {
        s.value = v;
        s.end = i;
    }
    return s;
}

// Decimal: the longest prefix of the form
// [+-]digits[.digits][(e|d)[+-]digits], converted correctly rounded.
Scan scanDecimal(std::string_view text, std::size_t pos)
{
    Scan s;
    s.end = pos;
    std::size_t i = pos;
    if (i < text.size() && (text[i] == '+' || text[i] == '-'))
        ++i;
    const std::size_t digitsStart = i;
    while (i < text.size() && isDigit(text[i]))
        ++i;
    bool anyDigit = i > digitsStart;
    if (i < text.size() && text[i] == '.') {
        std::size_t j = i + 1;
        while (j < text.size() && isDigit(text[j]))
            ++j;
        if (j > i + 1 || anyDigit) {
            anyDigit = anyDigit || j > i + 1;
            i = j;
        }
    }
    if (!anyDigit)
        return s;
    std::size_t mantissaEnd = i;
    if (i < text.size() && (text[i] == 'e' || text[i] == 'E' || text[i] == 'd' || text[i] == 'D')) {
        std::size_t j = i + 1;
        if (j < text.size() && (text[j] == '+' || text[j] == '-'))
            ++j;
        const std::size_t expStart = j;
        while (j < text.size() && isDigit(text[j]))
            ++j;
        if (j > expStart)
            i = j;
    }
    std::string literal(text.substr(pos, i - pos));
    if (i > mantissaEnd)
        literal[mantissaEnd - pos] = 'e'; // "1d3" is an exponent too
    s.value = parseDecimal(literal);
    s.end = i;
    s.found = true;
    return s;
}

// Reads a number starting at `pos` (blanks already skipped).
Scan scanNumber(std::string_view text, std::size_t pos)
{
    if (const std::optional<Scan> prefixed = scanPrefixed(text, pos))
        return *prefixed;
    return scanDecimal(text, pos);
}

std::size_t skipBlanks(std::string_view text, std::size_t pos)
{
    while (pos < text.size() && isBlank(text[pos]))
        ++pos;
    return pos;
}

bool equalsIgnoringCase(std::string_view a, std::string_view b)
{
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    }
    return true;
}

std::string_view trimmed(std::string_view text)
{
    const std::size_t first = skipBlanks(text, 0);
    std::size_t last = text.size();
    while (last > first && isBlank(text[last - 1]))
        --last;
    return text.substr(first, last - first);
}

} // namespace

double leadingNumber(std::string_view text)
{
    const Scan s = scanNumber(text, skipBlanks(text, 0));
    return s.found ? s.value : 0.0;
}

std::optional<double> wholeNumber(std::string_view text)
{
    const std::string_view t = trimmed(text);
    if (t.empty())
        return std::nullopt;
    const Scan s = scanNumber(t, 0);
    if (!s.found || s.end != t.size())
        return std::nullopt;
    return s.value;
}

std::optional<bool> wholeBoolean(std::string_view text)
{
    const std::string_view t = trimmed(text);
    if (equalsIgnoringCase(t, "true"))
        return true;
    if (equalsIgnoringCase(t, "false"))
        return false;
    if (const auto n = wholeNumber(t))
        return *n != 0.0;
    return std::nullopt;
}

std::int16_t roundToInt16(double value)
{
    if (!std::isfinite(value))
        throw std::overflow_error("value does not fit 16 bits");
    // nearbyint rounds in the current mode, which is round-half-even unless
    // somebody changed it; do it by hand so nothing outside can change it.
    double r = std::floor(value);
    const double diff = value - r;
    if (diff > 0.5 || (diff == 0.5 && std::fmod(r, 2.0) != 0.0))
        r += 1.0;
    if (r < -32768.0 || r > 32767.0)
        throw std::overflow_error("value does not fit 16 bits");
    return static_cast<std::int16_t>(r);
}

std::int16_t leadingInt16(std::string_view text)
{
    return roundToInt16(leadingNumber(text));
}

} // namespace tavo
