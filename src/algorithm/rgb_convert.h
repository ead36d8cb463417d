// SPDX-License-Identifier: MIT
/// From 24-bit colour to fewer bytes per pixel. Frames are packed, the top row first; the bytes of
/// a pixel are called 0, 1 and 2, which the demosaic fills with blue, green and red. A width or
/// height below 1 does nothing. Every function may be called from any thread.
#pragma once

#include <cstdint>

namespace orvik {

/// Luminance, one byte per pixel: 0.257 of byte 0, 0.504 of byte 1 and 0.098 of byte 2, each
/// rounded in 16.16 fixed point and the sum truncated; 0 to 219. The weights stand in the order of
/// red, green and blue on purpose, although byte 0 holds blue.
///
/// @param out width * height bytes. It may overlap `bgr` if it starts at or before `bgr`, or ends
///   at or behind its end.
void luminance(const uint8_t* bgr, uint8_t* out, int width, int height) noexcept;

/// Byte 0 of every pixel.
/// @param out as for luminance()
void firstChannel(const uint8_t* bgr, uint8_t* out, int width, int height) noexcept;

/// Packed 4:2:2: two bytes per pixel, luminance + 16 and one chroma value + 128.
///
/// Pixels pair up from the start of each row. The even pixel of a pair gives both chroma values;
/// the first is stored with itself, the second with the odd pixel. In an odd width the last pixel
/// of a row stands alone, with its first chroma value. Weights as usual for 8-bit video (0.439 with
/// 0.071 and 0.368; 0.439 with 0.291 and 0.148); sums shift toward minus infinity and are not
/// clamped.
///
/// @param out 2 * width * height bytes; with `bottomUp` false it may start at `bgr`
/// @param bottomUp reads the rows from the last to the first, so that the output stands upside down
void yuv422(const uint8_t* bgr, uint8_t* out, int width, int height, bool bottomUp) noexcept;

}  // namespace orvik
