#include "ExportFile.h"

#include <algorithm>

namespace tavo {

QByteArray exportFileBytes(const ConfigData &config)
{
    QByteArray bytes(ExportFileSize, '\0');
    bytes[0] = static_cast<char>(ExportTypeCode);
    std::copy(config.ConfigImage.begin(), config.ConfigImage.end(), bytes.begin() + 1);
    return bytes;
}

FileWriter::Result writeExportFile(const QString &path, const ConfigData &config, const QString &source)
{
    return FileWriter::write(path, exportFileBytes(config), source);
}

QString proposedExportName(const QString &currentFileName)
{
    if (currentFileName.size() < 5)
        return {};
    return currentFileName.chopped(3) + QStringLiteral("BDX");
}

} // namespace tavo
