#include "mainwindow/ExportFile.h"

#include <QSaveFile>

#include <algorithm>

namespace tavo {

QByteArray exportFileBytes(const ConfigData &config)
{
    QByteArray bytes(ExportFileSize, '\0');
    bytes[0] = static_cast<char>(ExportTypeCode);
    std::copy(config.ConfigImage.begin(), config.ConfigImage.end(), bytes.begin() + 1);
    return bytes;
}

bool writeExportFile(const QString &path, const ConfigData &config)
{
    const QByteArray bytes = exportFileBytes(config);
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    // commit() would rename a file whose buffered tail failed to reach the
    // disk into place; flush first and check.
    if (file.write(bytes) != bytes.size() || !file.flush()) {
        file.cancelWriting();
        return false;
    }
    return file.commit();
}

QString proposedExportName(const QString &currentFileName)
{
    if (currentFileName.size() < 5)
        return {};
    return currentFileName.chopped(3) + QStringLiteral("BDX");
}

} // namespace tavo
