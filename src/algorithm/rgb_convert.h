// SPDX-License-Identifier: MIT
/// Conversions from 24-bit colour to fewer bytes per pixel. Frames are packed, the top row first;
/// the bytes of a pixel are called 0, 1 and 2, which the demosaic fills with blue, green and red.
/// With a width or height below 1 nothing is done. Every function may be called from any thread.
#pragma once

#include <cstdint>

namespace orvik {

/// Luminance, one byte per pixel: 0.257 of byte 0, 0.504 of byte 1 and 0.098 of byte 2, each
/// rounded in 16.16 fixed point and the sum truncated; 0 to 219. The weights are in the order red,
/// green, blue on purpose, although byte 0 holds blue.
///
/// @param out width * height bytes. It may overlap `bgr` if it starts at or before the start of
///   `bgr`, or ends at or behind its end.
void luminance(const std::uint8_t* bgr, std::uint8_t* out, int width, int height) noexcept;

/// Byte 0 of every pixel.
/// @param out as for luminance()
void firstChannel(const std::uint8_t* bgr, std::uint8_t* out, int width, int height) noexcept;

/// Packed 4:2:2: two bytes per pixel, luminance + 16 and one chroma value + 128.
///
/// Pixels are paired from the start of each row. Both chroma values come from the even pixel of a
/// pair; the first is stored with that pixel, the second with the odd one. With an odd width the
/// last pixel of a row has no partner and is stored with its first chroma value. The weights are
/// those of 8-bit video (0.439 with 0.071 and 0.368; 0.439 with 0.291 and 0.148); sums are rounded
/// toward minus infinity and not clamped.
///
/// @param out 2 * width * height bytes; with `bottomUp` false it may start at `bgr`
/// @param bottomUp reads the rows from the last to the first, so that the output is upside down
void yuv422(const std::uint8_t* bgr, std::uint8_t* out, int width, int height,
            bool bottomUp) noexcept;

}  // namespace orvik
