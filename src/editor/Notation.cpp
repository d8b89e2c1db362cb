#include "Notation.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace ByteDisplay {
namespace {

using Type = SerialEditorData::Type;

// Windows-1252 characters for the bytes 0x80..0x9F (the code page the
// units' owners type on); the five holes of that code page keep their
// Latin-1 code.
constexpr std::array<char16_t, 32> HighControls = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

constexpr char16_t DelCharacter = 127;

constexpr std::array<QStringView, 32> ControlNames = {
    u"NUL", u"SOH", u"STX", u"ETX", u"EOT", u"ENQ", u"ACK", u"BEL", u"BS",  u"HT",  u"LF",
    u"VT",  u"FF",  u"CR",  u"SO",  u"SI",  u"DLE", u"DC1", u"DC2", u"DC3", u"DC4", u"NAK",
    u"SYN", u"ETB", u"CAN", u"EM",  u"SUB", u"ESC", u"FS",  u"GS",  u"RS",  u"US"};

constexpr QStringView Digits = u"0123456789ABCDEF";

// Values below 32 have no character of their own and show as DEL.
QString asciiText(int value)
{
    if (value < 32 || value > 0xFFFF)
        return QString(QChar(DelCharacter));
    if (value >= 0x80 && value <= 0x9F)
        return QString(QChar(HighControls[static_cast<std::size_t>(value - 0x80)]));
    return QString(QChar(static_cast<char16_t>(value)));
}

// The byte a typed character stands for; nothing for a character without
// a single-byte code.
std::optional<int> asciiValue(QStringView text)
{
    if (text.size() != 1)
        return std::nullopt;
    const char16_t c = text.front().unicode();
    if (c < 0x80 || (c >= 0xA0 && c <= 0xFF))
        return c;
    const auto *found = std::find(HighControls.begin(), HighControls.end(), c);
    if (found == HighControls.end())
        return std::nullopt;
    return 0x80 + static_cast<int>(found - HighControls.begin());
}

QString controlText(int value)
{
    if (value < 0 || value >= static_cast<int>(ControlNames.size()))
        return QStringLiteral("???");
    return ControlNames[static_cast<std::size_t>(value)].toString();
}

std::optional<int> controlValue(QStringView text)
{
    const auto *found = std::find(ControlNames.begin(), ControlNames.end(), text);
    if (found == ControlNames.end())
        return std::nullopt;
    return static_cast<int>(found - ControlNames.begin());
}

QString noText(int)
{
    return {};
}

QString ignoreText(int)
{
    return QStringLiteral("?");
}

std::optional<int> noValue(QStringView)
{
    return std::nullopt;
}

// Indexed by type code.
// clang-format off
constexpr std::array<Notation, 7> Notations = {{
    // type             label   suffix colour          base width mask    symbol text, value
    {Type::Ascii,       u"ASC", u"",   {0, 0, 0},      0,   0,    ~0,     asciiText,   asciiValue},
    {Type::Decimal,     u"DEC", u"d",  {0, 0, 255},    10,  3,    ~0,     nullptr,     nullptr},
    {Type::Hexadecimal, u"HEX", u"h",  {255, 0, 0},    16,  2,    0xFFFF, nullptr,     nullptr},
    {Type::Binary,      u"BIN", u"b",  {255, 0, 255},  2,   8,    0xFF,   nullptr,     nullptr},
    {Type::Control,     u"CNT", u"",   {0, 128, 0},    0,   0,    ~0,     controlText, controlValue},
    {Type::NoMeaning,   u"",    u"",   {0, 0, 0},      0,   0,    ~0,     noText,      noValue},
    {Type::Ignore,      u"",    u"",   {255, 128, 0},  0,   0,    ~0,     ignoreText,  noValue},
}};
// clang-format on

constexpr bool indexedByCode()
{
    for (std::size_t i = 0; i < Notations.size(); ++i) {
        if (static_cast<std::size_t>(SerialEditorData::codeOf(Notations[i].type)) != i)
            return false;
    }
    return true;
}
static_assert(indexedByCode());

} // namespace

const Notation &notationOf(SerialEditorData::Type type)
{
    const std::int16_t code = SerialEditorData::codeOf(type);
    const std::int16_t known =
        SerialEditorData::isNamedType(code) ? code : SerialEditorData::codeOf(Type::NoMeaning);
    return Notations[static_cast<std::size_t>(known)];
}

QString Notation::text(int value, bool leadingZeros) const
{
    if (!isNumber())
        return symbolText(value);
    const int shown = value & mask;
    QString digits = QString::number(std::abs(shown), base).toUpper();
    if (leadingZeros)
        digits = digits.rightJustified(width, QLatin1Char('0'));
    return shown < 0 ? QLatin1Char('-') + digits : digits;
}

std::optional<int> Notation::value(QStringView text) const
{
    if (!isNumber())
        return symbolValue(text);
    // Digits of this base only: Qt's reader would also take a sign, blanks
    // or a "0x" prefix.
    const bool digitsOnly = !text.isEmpty() && std::all_of(text.begin(), text.end(), [this](QChar c) {
        const qsizetype digit = Digits.indexOf(c, 0, Qt::CaseInsensitive);
        return digit >= 0 && digit < base;
    });
    bool ok = false;
    const int value = digitsOnly ? text.toInt(&ok, base) : 0;
    if (!ok)
        return std::nullopt;
    return value;
}

} // namespace ByteDisplay
