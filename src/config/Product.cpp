#include "Product.h"

#include "TavoVersion.h"

namespace tavo {

QString versionText()
{
    return QString::fromLatin1(VersionText);
}

QString productCaption()
{
    return QStringLiteral("Serial Tavo Editor ") + versionText();
}

QByteArray configFileHeader()
{
    return QByteArrayLiteral("Serial Tavo") + QByteArray(VersionText);
}

} // namespace tavo
