#pragma once

#include <QRect>

// Form layouts are kept in twips, the unit they were drawn in, and turned
// into device-independent pixels here (15 twips to the pixel); Qt scales
// those for high-DPI screens.
namespace tavo {

inline constexpr int TwipsPerPixel = 15;

// Rounded to the nearest pixel, halves away from zero.
constexpr int twipsToPixels(int twips)
{
    return twips >= 0 ? (twips + TwipsPerPixel / 2) / TwipsPerPixel
                      : -((-twips + TwipsPerPixel / 2) / TwipsPerPixel);
}

inline QRect twipsRect(int left, int top, int width, int height)
{
    return {twipsToPixels(left), twipsToPixels(top), twipsToPixels(width), twipsToPixels(height)};
}

} // namespace tavo
