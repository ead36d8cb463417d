// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "imaging/read/byte_source.h"
#include "imaging/view/image_source.h"

namespace orvik::imaging {

/// An image from a file, with memory of its own.
struct ReadImage {
  std::vector<std::uint8_t> pixels;  ///< rows as those of an ImageSource, the top row first
  Size size;
  IMG_TYPE type = Orvik_IMG_RAW8;
  std::optional<BayerPattern> mosaic;
  bool wideColour = false;

  std::string format;  ///< such as "FITS, 32-bit floating point"
  int frame = 1;       ///< which of the frames this is, counted from 1
  int frames = 1;      ///< frames in the file
  /// What the header tells of the image, such as {"exposure", "2.5 s"}; printable ASCII only.
  std::vector<std::pair<std::string, std::string>> facts;

  [[nodiscard]] ImageSource source() const { return {pixels, size, type, mosaic, wideColour}; }
};

/// Reads an image of a FITS, PNG or SER file; its first bytes tell which it is. Whatever the bytes
/// are, they end in an image or in an error.
///
/// @param frame which of several, counted from 1
/// @throws FileError naming the file and what is wrong: it cannot be read, has another format, is
///         cut short or damaged, has no such frame, or would take more than kMostMemory
ReadImage readImage(ByteSource& source, int frame = 1);
ReadImage readImage(const std::filesystem::path& file, int frame = 1);

/// The pixels that a header announces.
struct AnnouncedPixels {
  std::uint64_t width = 0;
  std::uint64_t height = 0;
  int channels = 1;      ///< 1, or 3 for colour
  int bits = 8;          ///< of a sample in memory, 8 or 16
  double fileBytes = 0;  ///< bytes that a file of such an image has at least
};

/// Gives an image its size, its type and memory for its pixels.
///
/// @throws FileError if there is no pixel, if they would take too much memory, or if the file is
/// too
///         short to hold them
void allocate(ReadImage& image, const AnnouncedPixels& pixels, const ByteSource& source);

/// The mosaic with a name such as "RGGB"; nothing for any other text.
std::optional<BayerPattern> mosaicNamed(std::string_view name);

}  // namespace orvik::imaging
