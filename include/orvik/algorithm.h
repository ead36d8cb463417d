// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace orvik {

/// The pixel work of the driver under the names that the camera classes use.
///
/// Frames are packed: rows follow each other without padding, the top row first. 24-bit colour is
/// blue, green, red per pixel. A height or width below 1 does nothing; beyond that the caller
/// answers for the buffers being as large as the sizes say. The exact arithmetic stands with the
/// functions that each method hands on to.
///
/// The class holds nothing. Its only state is the white balance, which belongs to the process: who
/// changes it changes it for every camera. All methods may be called from any thread; a change of
/// the balance takes effect with the next frame that is begun.
class CAlgorithm {
 public:
  /// Sets the white balance to neutral. (The luminance and chroma tables are constants.)
  static void RGBYUV_Init() noexcept;
  /// Sets the white balance: gains of red and blue in fiftieths, 50 is unity; see WhiteBalance.
  static void SetRGBWB(int gainR, int gainB) noexcept;

  /// Demosaics a frame whose top left cell of 2 x 2 reads as the name says; see demosaic().
  /// @param raw width * height bytes
  /// @param rgb receives 3 * width * height bytes
  static void Bayer2RGB24_RG(const uint8_t* raw, uint8_t* rgb, int width, int height) noexcept;
  static void Bayer2RGB24_BG(const uint8_t* raw, uint8_t* rgb, int width, int height) noexcept;
  static void Bayer2RGB24_GR(const uint8_t* raw, uint8_t* rgb, int width, int height) noexcept;
  static void Bayer2RGB24_GB(const uint8_t* raw, uint8_t* rgb, int width, int height) noexcept;

  /// 24-bit colour to 8-bit luminance; see luminance().
  static void RGB2Y8(const uint8_t* rgb, uint8_t* y8, int width, int height) noexcept;
  /// 24-bit colour to byte 0 of each pixel; see firstChannel().
  static void RGB2R8(const uint8_t* rgb, uint8_t* out, int width, int height) noexcept;
  /// 24-bit colour to packed 4:2:2, two bytes per pixel; see yuv422().
  static void RGB2YUV2(const uint8_t* rgb, uint8_t* yuv, int width, int height,
                       bool bottomUp) noexcept;

  /// Replaces every pixel, in place, by the table entry that it indexes.
  /// @param table 256 entries
  static void Gamma(uint8_t* img, const uint8_t* table, int width, int height) noexcept;
  /// @param table 65536 entries
  static void Gamma(uint16_t* img, const uint16_t* table, int width, int height) noexcept;

  /// Bins a monochrome frame in place, in `buf16` if `is16`, else in `buf8`; see binMono(). The
  /// buffer that is not meant may be null. Sizes are those of the result.
  static void MonoBin(uint8_t* buf8, uint16_t* buf16, int width, int height, int bin,
                      bool is16) noexcept;
  /// Bins a mosaic in place and keeps its pattern; buffers as for MonoBin(); see binMosaic().
  static void ColorRAWBin(uint8_t* buf8, uint16_t* buf16, int width, int height, int bin,
                          bool is16) noexcept;

  /// Flips a raw frame of (width * bin) x (height * bin) samples in place; see flip().
  /// @param buf bytes, or aligned 16-bit words if `is16`
  static void SoftMisc(void* buf, int width, int height, int bin, bool is16, bool flipVertical,
                       bool flipHorizontal) noexcept;

  /// Subtracts a dark frame in place; see subtractDark() and, for an image that the sensor binned
  /// 2 x 2, subtractBinnedDark().
  /// @param width, height of the dark, in 16-bit samples
  /// @param columnStart only with `binned`
  static void SubtractDark(uint8_t* image, int width, int height, int offset, const uint16_t* dark,
                           bool binned, int columnStart) noexcept;
  /// Writes the present local time into an image; see drawTimeMark().
  /// @param type 0 for one byte a pixel, 1 for 24-bit colour; any other does nothing
  static void AddTimeMark(uint8_t* image, int width, int height, int type) noexcept;
};

}  // namespace orvik
