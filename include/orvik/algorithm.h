/* SPDX-License-Identifier: MIT */
/**
 * @file algorithm.h
 * CAlgorithm: the pixel operations of the library, for a program's own frames.
 */
#ifndef ORVIK_ALGORITHM_H
#define ORVIK_ALGORITHM_H

#include <orvik/orvik.h>

#include <cstdint>

namespace orvik {

/**
 * Pixel kernels on packed frames.
 *
 * Rows follow each other without padding, the top row first. 24-bit colour is blue, green, red per
 * pixel. A null pointer, or a width or height below 1, makes a member do nothing. Otherwise the
 * caller must make sure that the buffers have the given sizes.
 *
 * Objects have no state. The only state is the white balance of the process. It is set to neutral
 * when a camera object is created, and to the balance of a T01C or T03C camera object whenever the
 * balance is set through that object. Images of cameras do not depend on it. All members may be
 * called from any thread; a change of the balance takes effect with the next frame. No member
 * throws.
 */
class ORVIK_API CAlgorithm {
 public:
  /** Sets the white balance to neutral. */
  static void RGBYUV_Init() noexcept;
  /** Sets the white balance. @param gainR, gainB gains of red and blue in fiftieths: 50 is unity,
   *  100 doubles, values below 0 count as 0 */
  static void SetRGBWB(int gainR, int gainB) noexcept;

  /**
   * Demosaics a frame bilinearly, with the white balance. The four members differ in the colours of
   * the top left cell of 2 x 2 pixels; see ::BayerPattern.
   *
   * @param raw width * height bytes
   * @param rgb receives 3 * width * height bytes; must not overlap `raw`
   */
  static void Bayer2RGB24_RG(const std::uint8_t* raw, std::uint8_t* rgb, int width,
                             int height) noexcept;
  /** Like Bayer2RGB24_RG(). */
  static void Bayer2RGB24_BG(const std::uint8_t* raw, std::uint8_t* rgb, int width,
                             int height) noexcept;
  /** Like Bayer2RGB24_RG(). */
  static void Bayer2RGB24_GR(const std::uint8_t* raw, std::uint8_t* rgb, int width,
                             int height) noexcept;
  /** Like Bayer2RGB24_RG(). */
  static void Bayer2RGB24_GB(const std::uint8_t* raw, std::uint8_t* rgb, int width,
                             int height) noexcept;

  /** Converts 24-bit colour to luminance, 0 to 219.
   *  @param y8 receives width * height bytes; may be `rgb` */
  static void RGB2Y8(const std::uint8_t* rgb, std::uint8_t* y8, int width, int height) noexcept;
  /** Converts 24-bit colour to byte 0 of each pixel.
   *  @param out receives width * height bytes; may be `rgb` */
  static void RGB2R8(const std::uint8_t* rgb, std::uint8_t* out, int width, int height) noexcept;
  /** Converts 24-bit colour to packed 4:2:2. @param yuv receives 2 * width * height bytes
   *  @param bottomUp whether the last row comes first; otherwise `yuv` may be `rgb` */
  static void RGB2YUV2(const std::uint8_t* rgb, std::uint8_t* yuv, int width, int height,
                       bool bottomUp) noexcept;

  /** Replaces each pixel, in place, by the entry that it indexes. @param table 256 entries */
  static void Gamma(std::uint8_t* img, const std::uint8_t* table, int width, int height) noexcept;
  /** The same for 16 bits. @param table 65536 entries */
  static void Gamma(std::uint16_t* img, const std::uint16_t* table, int width, int height) noexcept;

  /**
   * Bins a monochrome frame in place: 8-bit samples are summed, limited to 255; 16-bit
   * samples are averaged.
   *
   * @param buf8, buf16 the frame, in `buf16` if `is16`; the other pointer may be null
   * @param width, height size of the result; the frame is `bin` times as large
   * @param bin factor; below 2 does nothing
   */
  static void MonoBin(std::uint8_t* buf8, std::uint16_t* buf16, int width, int height, int bin,
                      bool is16) noexcept;
  /** The same for a mosaic; its Bayer pattern is preserved. */
  static void ColorRAWBin(std::uint8_t* buf8, std::uint16_t* buf16, int width, int height, int bin,
                          bool is16) noexcept;

  /** Flips a raw frame of (width * bin) x (height * bin) samples in place. @param buf bytes, or
   *  aligned 16-bit words if `is16` */
  static void SoftMisc(void* buf, int width, int height, int bin, bool is16, bool flipVertical,
                       bool flipHorizontal) noexcept;

  /**
   * Subtracts a dark frame in place: each pixel becomes pixel - dark + offset, limited to 0 to 255.
   *
   * @param image width * height bytes; with `binned`, width / 2 * height / 2
   * @param width, height size of the dark frame in samples @param dark width * height samples
   * @param binned whether the sensor binned the image 2 x 2 by colour
   * @param columnStart left edge of a binned image in the dark frame, in binned pixels, 0 or above
   */
  static void SubtractDark(std::uint8_t* image, int width, int height, int offset,
                           const std::uint16_t* dark, bool binned, int columnStart) noexcept;
  /** Writes the current local time into the top left corner of an image.
   *  @param type 0 for one byte per pixel, 1 for 24-bit colour; other values do nothing */
  static void AddTimeMark(std::uint8_t* image, int width, int height, int type) noexcept;
};

}  // namespace orvik

#endif
