#pragma once

#include "SerialEditorData.h"

#include <array>
#include <cstdint>

// The configuration being edited: what the main window owns and the output
// panels, dialogs, files and the command-line tool read and write.
//
// There is one per main window (and one per `tavo` command); it is handed to
// whoever needs it by reference instead of living in a global, so that every
// test can have its own.
//
// The members OnMessages, OffMessages, OnPeriods, PulseModes, BaudIndex,
// ParityIndex, ConfigModified and ConfigImage are the names the unit's
// original configuration tool gave its global data. They keep that
// spelling, against our lowerCamelCase habit, so that the files and the
// image can be traced field by field to that tool.
struct ConfigData {
    static constexpr int OutputCount = 8;
    static constexpr int ImageSize = 256;

    std::array<SerialEditorData, OutputCount> OnMessages{};
    std::array<SerialEditorData, OutputCount> OffMessages{};
    // Seconds the output stays on in pulse mode, 0 to 255; 0 means 0.1 s.
    std::array<std::int16_t, OutputCount> OnPeriods{};
    // True: pulse mode (on for the period after the On code);
    // false: separate On and Off codes.
    std::array<bool, OutputCount> PulseModes{};
    // The unit's own line: indexes into the baud and parity lists.
    std::int16_t BaudIndex = 0;
    std::int16_t ParityIndex = 0;
    bool ConfigModified = false;
    // What is downloaded into the unit and exported; built from the rest.
    std::array<std::uint8_t, ImageSize> ConfigImage{};
};
