#include "LineSettings.h"

#include <QStringList>

#include <algorithm>
#include <array>

namespace {

constexpr std::array<int, 16> SupportedBauds{110,   300,   600,   1200,  2400,  4800,   9600,   14400,
                                             19200, 28800, 38400, 56000, 57600, 115200, 128000, 256000};

// Digits only: QString::toInt would also take "+9600" or " 9600".
std::optional<int> plainNumber(const QString &field)
{
    if (field.isEmpty() || field.size() > 6)
        return std::nullopt;
    int value = 0;
    for (const QChar c : field) {
        if (c < QLatin1Char('0') || c > QLatin1Char('9'))
            return std::nullopt;
        value = value * 10 + (c.unicode() - u'0');
    }
    return value;
}

} // namespace

bool LineSettings::isSupportedBaud(int baud)
{
    return std::find(SupportedBauds.begin(), SupportedBauds.end(), baud) != SupportedBauds.end();
}

std::optional<LineSettings> LineSettings::parse(const QString &text)
{
    const QStringList fields = text.split(QLatin1Char(','));
    if (fields.size() != 4)
        return std::nullopt;

    LineSettings s;
    const auto baud = plainNumber(fields.at(0));
    if (!baud || !isSupportedBaud(*baud))
        return std::nullopt;
    s.baud = *baud;

    const QString parity = fields.at(1).toLower();
    if (parity.size() != 1)
        return std::nullopt;
    switch (parity.at(0).unicode()) {
    case u'n': s.parity = Parity::None; break;
    case u'e': s.parity = Parity::Even; break;
    case u'o': s.parity = Parity::Odd; break;
    case u'm': s.parity = Parity::Mark; break;
    case u's': s.parity = Parity::Space; break;
    default: return std::nullopt;
    }

    const auto data = plainNumber(fields.at(2));
    if (!data || *data < 5 || *data > 8)
        return std::nullopt;
    s.dataBits = *data;

    const auto stop = plainNumber(fields.at(3));
    if (!stop || (*stop != 1 && *stop != 2))
        return std::nullopt;
    s.stopBits = *stop;
    return s;
}

QString LineSettings::toString() const
{
    return QStringLiteral("%1,%2,%3,%4")
        .arg(baud)
        .arg(QLatin1Char(static_cast<char>(parity)))
        .arg(dataBits)
        .arg(stopBits);
}
