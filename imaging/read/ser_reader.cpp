// SPDX-License-Identifier: MIT
#include "imaging/read/ser_reader.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <limits>
#include <string_view>

#include "imaging/colour_order.h"
#include "imaging/header_text.h"
#include "imaging/mosaic.h"

namespace orvik::imaging {
namespace {

constexpr std::size_t kHeaderBytes = 178;
using Header = std::array<std::uint8_t, kHeaderBytes>;

constexpr std::int32_t kRedGreenBlue = 100;
constexpr std::int32_t kBlueGreenRed = 101;

std::int32_t numberAt(const Header& header, std::size_t offset) {
  std::int32_t number = 0;
  std::memcpy(&number, header.data() + offset, sizeof number);
  return number;
}

std::string textAt(const Header& header, std::size_t offset) {
  constexpr std::size_t kNameBytes = 40;
  const std::string_view field(reinterpret_cast<const char*>(header.data() + offset), kNameBytes);
  const std::string_view text = field.substr(0, field.find('\0'));
  return headerText(text.substr(0, text.find_last_not_of(' ') + 1));
}

std::optional<BayerPattern> mosaicOf(std::int32_t colourId) {
  for (const BayerPattern pattern : {BAYER_RG, BAYER_BG, BAYER_GR, BAYER_GB}) {
    if (mosaic(pattern).serColourId == colourId) return pattern;
  }
  return std::nullopt;
}

/// Native 16-bit samples from those of the file.
void normalise(std::span<std::uint8_t> bytes, bool isBigEndian, int bits) {
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    unsigned value = bytes[i] | unsigned{bytes[i + 1]} << 8U;
    if (isBigEndian) value = unsigned{bytes[i]} << 8U | bytes[i + 1];
    value <<= static_cast<unsigned>(16 - bits);
    bytes[i] = static_cast<std::uint8_t>(value & 0xFFU);
    bytes[i + 1] = static_cast<std::uint8_t>(value >> 8U & 0xFFU);
  }
}

void swapBlueAndRed16(std::span<std::uint8_t> bytes) {
  for (std::size_t i = 0; i + 5 < bytes.size(); i += 6) {
    std::swap_ranges(bytes.begin() + static_cast<std::ptrdiff_t>(i),
                     bytes.begin() + static_cast<std::ptrdiff_t>(i + 2),
                     bytes.begin() + static_cast<std::ptrdiff_t>(i + 4));
  }
}

/// Whole frames in the file.
std::uint64_t framesIn(const ByteSource& source, const Header& header, std::uint64_t frameBytes) {
  const std::int32_t told = numberAt(header, 38);
  const std::uint64_t there = (source.size() - kHeaderBytes) / frameBytes;
  const std::uint64_t most = std::numeric_limits<std::int32_t>::max();
  return std::min(there, told > 0 ? static_cast<std::uint64_t>(told) : most);
}

}  // namespace

ReadImage readSer(ByteSource& source, int frame) {
  Header header{};
  source.readAll(0, header);
  const std::int32_t colourId = numberAt(header, 18);
  // 0 stands for little-endian samples: most programs write and read this field so.
  const bool isBigEndian = numberAt(header, 22) != 0;
  const std::int32_t width = numberAt(header, 26);
  const std::int32_t height = numberAt(header, 30);
  const std::int32_t bits = numberAt(header, 34);
  if (bits < 1 || bits > 16) source.fail("its samples have " + std::to_string(bits) + " bits");
  const bool isColour = colourId == kRedGreenBlue || colourId == kBlueGreenRed;
  const bool isWide = bits > 8;

  ReadImage image;
  const auto side = [](std::int32_t pixels) {
    return static_cast<std::uint64_t>(std::max(pixels, 0));
  };
  AnnouncedPixels pixels{side(width), side(height), isColour ? 3 : 1, isWide ? 16 : 8};
  pixels.fileBytes = kHeaderBytes + double(width) * height * pixels.channels * pixels.bits / 8;
  allocate(image, pixels, source);
  const std::uint64_t frames = framesIn(source, header, image.pixels.size());
  if (frame < 1 || static_cast<std::uint64_t>(frame) > frames) {
    source.fail("it has no frame " + std::to_string(frame) + ": they are 1 to " +
                std::to_string(frames));
  }
  image.frame = frame;
  image.frames = static_cast<int>(frames);
  source.readAll(kHeaderBytes + static_cast<std::uint64_t>(frame - 1) * image.pixels.size(),
                 image.pixels);
  if (isWide) normalise(image.pixels, isBigEndian, bits);
  if (colourId == kRedGreenBlue) {
    isWide ? swapBlueAndRed16(image.pixels) : swapBlueAndRed(image.pixels);
  }
  if (!isColour) image.mosaic = mosaicOf(colourId);
  image.format = "SER, " + std::to_string(bits) + " bits";
  for (const auto& [name, offset] :
       {std::pair{"observer", 42}, {"camera", 82}, {"telescope", 122}}) {
    std::string text = textAt(header, static_cast<std::size_t>(offset));
    if (!text.empty()) image.facts.emplace_back(name, std::move(text));
  }
  return image;
}

}  // namespace orvik::imaging
