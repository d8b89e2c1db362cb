#pragma once

#include "ConfigData.h"
#include "FileWriter.h"

#include <QByteArray>
#include <QString>

// The export file (.BDX), the maker's common container for device images:
//
//   0       device type code, 24 for this unit
//   1       32769-byte image block: the 256-byte configuration image, zeros after
//   32770   32769-byte spare block, all zeros
//
// 65539 bytes whatever the image length; other tools rely on the fixed size.
namespace tavo {

// ExportTypeCode is the name the unit's original configuration tool gave
// this byte; it keeps that spelling so the format can be traced to it.
inline constexpr int ExportTypeCode = 24;
inline constexpr int ExportBlockSize = 32769;
inline constexpr int ExportFileSize = 1 + 2 * ExportBlockSize;

QByteArray exportFileBytes(const ConfigData &config);

// Writes a fresh file of exactly ExportFileSize bytes through the program's
// one file writer; `source` is the configuration file it was made from,
// which must not be written over.
FileWriter::Result writeExportFile(const QString &path, const ConfigData &config, const QString &source = {});

// The name the export dialog proposes: the configuration's name with its
// last three characters replaced by "BDX"; nothing for an untitled (or
// implausibly short) name.
QString proposedExportName(const QString &currentFileName);

} // namespace tavo
