#include "SerialSettings.h"

namespace tavo {

QStringList parityListNames()
{
    return {QStringLiteral("None"), QStringLiteral("Even"), QStringLiteral("Odd")};
}

QStringList parityWords()
{
    return {QStringLiteral("No"), QStringLiteral("Even"), QStringLiteral("Odd")};
}

QString SerialSettingsText(int baudIndex, int parityIndex)
{
    QString text;
    if (baudIndex >= 0 && baudIndex < static_cast<int>(BaudRates.size()))
        text += QString::number(BaudRates[static_cast<std::size_t>(baudIndex)]);
    // The comma before "baud" is odd but it is the text users know.
    text += QStringLiteral(", baud, ");
    const QStringList words = parityWords();
    if (parityIndex >= 0 && parityIndex < words.size())
        text += words.at(parityIndex);
    text += QStringLiteral(" parity, 8 Bit data, 1 Stop bit");
    return text;
}

} // namespace tavo
