// SPDX-License-Identifier: MIT
#include "imaging/read/read_image.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "imaging/mosaic.h"
#include "imaging/read/fits_reader.h"
#include "imaging/read/png_reader.h"
#include "imaging/read/ser_reader.h"

namespace orvik::imaging {
namespace {

using namespace std::string_view_literals;

// Far above every sensor; products of two of them fit 64 bits.
constexpr std::uint64_t kLongestSide = 1'000'000;

constexpr std::string_view kFits = "SIMPLE  =";
constexpr std::string_view kPng = "\x89PNG\r\n\x1a\n";
constexpr std::string_view kSer = "LUCAM-RECORDER";
constexpr std::string_view kGzip = "\x1f\x8b";

void requireOnlyFrame(const ByteSource& source, int frame) {
  if (frame != 1)
    source.fail("it holds a single image, so there is no frame " + std::to_string(frame));
}

}  // namespace

ReadImage readImage(ByteSource& source, int frame) {
  std::array<std::uint8_t, 16> bytes{};
  const std::size_t count = source.readSome(0, bytes);
  const std::string_view start(reinterpret_cast<const char*>(bytes.data()), count);
  if (start.starts_with(kSer)) return readSer(source, frame);
  if (start.starts_with(kFits)) {
    requireOnlyFrame(source, frame);
    return readFits(source);
  }
  if (start.starts_with(kPng)) {
    requireOnlyFrame(source, frame);
    return readPng(source);
  }
  if (start.starts_with(kGzip)) source.fail("it is compressed; unpack it first, with gunzip");
  if (start.empty()) source.fail("it is empty");
  source.fail("it is no FITS, PNG or SER file");
}

ReadImage readImage(const std::filesystem::path& file, int frame) {
  return readImage(*openBytes(file), frame);
}

void allocate(ReadImage& image, const AnnouncedPixels& pixels, const ByteSource& source) {
  const auto& [width, height, channels, bits, fileBytes] = pixels;
  const std::string size = std::to_string(width) + " x " + std::to_string(height) + " pixels";
  if (width == 0 || height == 0) source.fail("it has " + size);
  const auto perPixel = static_cast<std::uint64_t>(channels * bits / 8);
  if (width > kLongestSide || height > kLongestSide || width * height > kMostMemory / perPixel) {
    source.fail("its " + size + " would take more than " + std::to_string(kMostMemory >> 20) +
                " MiB of memory");
  }
  if (static_cast<double>(source.size()) < fileBytes) {
    source.fail("it is cut short: its " + std::to_string(source.size()) +
                " bytes cannot hold its " + size);
  }
  image.size = {static_cast<int>(width), static_cast<int>(height)};
  image.wideColour = channels == 3 && bits == 16;
  image.type = channels == 3 ? Orvik_IMG_RGB24 : bits == 16 ? Orvik_IMG_RAW16 : Orvik_IMG_RAW8;
  image.pixels.resize(static_cast<std::size_t>(width * height * perPixel));
}

std::optional<BayerPattern> mosaicNamed(std::string_view name) {
  for (const BayerPattern pattern : {BAYER_RG, BAYER_BG, BAYER_GR, BAYER_GB}) {
    if (mosaic(pattern).name == name) return pattern;
  }
  return std::nullopt;
}

}  // namespace orvik::imaging
