#include "ConfigImage.h"

#include <stdexcept>

namespace tavo {

namespace {

std::uint8_t toByte(int value)
{
    if (value < 0 || value > 255)
        throw std::overflow_error("value does not fit a byte");
    return static_cast<std::uint8_t>(value);
}

constexpr std::array<int, 7> BaudCodes{2, 0, 1, 3, 4, 5, 6};
constexpr std::array<int, 3> ParityCodes{0, 2, 1};

void writeCode(std::array<std::uint8_t, ConfigData::ImageSize> &image, int start,
               const SerialEditorData &message)
{
    image[static_cast<std::size_t>(start)] = toByte(message.NumberOfBytesInMessage());
    // All 14 slots, whatever the length: the unit compares fixed records.
    for (int i = 0; i < SerialEditorData::MaxBytes; ++i)
        image[static_cast<std::size_t>(start + 1 + i)] = toByte(message.ByteValue(i));
}

} // namespace

void BuildConfigImage(ConfigData &config, const std::function<void(int output)> &collate)
{
    auto &image = config.ConfigImage;
    int mask = 0;
    for (int n = 0; n < ConfigData::OutputCount; ++n) {
        const auto i = static_cast<std::size_t>(n);
        image[i] = toByte(config.OnPeriods[i]);
        if (config.PulseModes[i])
            mask |= 1 << n;
    }
    image[ImageModeMask] = static_cast<std::uint8_t>(mask);

    // An index without a code leaves the byte as a copy of the one before.
    int code = mask;
    if (config.BaudIndex >= 0 && config.BaudIndex < static_cast<int>(BaudCodes.size()))
        code = BaudCodes[static_cast<std::size_t>(config.BaudIndex)];
    image[ImageBaudCode] = static_cast<std::uint8_t>(code);
    if (config.ParityIndex >= 0 && config.ParityIndex < static_cast<int>(ParityCodes.size()))
        code = ParityCodes[static_cast<std::size_t>(config.ParityIndex)];
    image[ImageParityCode] = static_cast<std::uint8_t>(code);

    for (int n = 0; n < ConfigData::OutputCount; ++n) {
        if (collate)
            collate(n);
        writeCode(image, ImageOnCodes + ImageCodeStride * n, config.OnMessages[static_cast<std::size_t>(n)]);
    }
    for (int n = 0; n < ConfigData::OutputCount; ++n) {
        const auto i = static_cast<std::size_t>(n);
        const int start = ImageOffCodes + ImageCodeStride * n;
        if (config.PulseModes[i]) {
            // A pulse output has no Off code; its slots keep what they held.
            image[static_cast<std::size_t>(start)] = 0;
            continue;
        }
        if (collate)
            collate(n);
        writeCode(image, start, config.OffMessages[i]);
    }
}

} // namespace tavo
