// SPDX-License-Identifier: MIT
#include "algorithm/time_mark.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace orvik {
namespace {

constexpr int kGlyphWidth = 8;
constexpr int kGlyphRows = 11;
constexpr int kMargin = 8;
constexpr std::string_view kCharacters = "0123456789:";

/// One byte per row, the leftmost pixel in the highest bit. The bottom row comes first; the first
/// eleven of the sixteen bytes are drawn.
constexpr std::array<std::array<std::uint8_t, 16>, kCharacters.size()> kFont = {{
    {0x00, 0x7C, 0xC6, 0xC6, 0xE6, 0xF6, 0xDE, 0xCE, 0xC6, 0x7C, 0x00, 0x00, 0x00, 0x00, 0x00,
     0x00},  // 0
    {0x00, 0x7E, 0x18, 0x18, 0x18, 0x18, 0x18, 0x78, 0x38, 0x18, 0x00, 0x00, 0x00, 0x00, 0x00,
     0x00},  // 1
    {0x00, 0xFE, 0xC6, 0x60, 0x30, 0x18, 0x0C, 0x06, 0xC6, 0x7C, 0x00, 0x00, 0x00, 0x00, 0x00,
     0x00},  // 2
    {0x00, 0x7C, 0xC6, 0x06, 0x06, 0x3C, 0x06, 0x06, 0xC6, 0x7C, 0x00, 0x00, 0x00, 0x00, 0x00,
     0x00},  // 3
    {0x00, 0x1E, 0x0C, 0x0C, 0xFE, 0xCC, 0x6C, 0x3C, 0x1C, 0x0C, 0x00, 0x00, 0x00, 0x00, 0x00,
     0x00},  // 4
    {0x00, 0x7C, 0xC6, 0x06, 0x06, 0xFC, 0xC0, 0xC0, 0xC0, 0xFE, 0x00, 0x00, 0x00, 0x00, 0x00,
     0x00},  // 5
    {0x00, 0x7C, 0xC6, 0xC6, 0xC6, 0xFC, 0xC0, 0xC0, 0x60, 0x38, 0x00, 0x00, 0x00, 0x00, 0x00,
     0x00},  // 6
    {0x00, 0x30, 0x30, 0x30, 0x30, 0x18, 0x0C, 0x06, 0xC6, 0xFE, 0x00, 0x00, 0x00, 0x00, 0x00,
     0x00},  // 7
    {0x00, 0x7C, 0xC6, 0xC6, 0xC6, 0x7C, 0xC6, 0xC6, 0xC6, 0x7C, 0x00, 0x00, 0x00, 0x00, 0x00,
     0x00},  // 8
    {0x00, 0x78, 0x0C, 0x06, 0x06, 0x7E, 0xC6, 0xC6, 0xC6, 0x7C, 0x00, 0x00, 0x00, 0x00, 0x00,
     0x00},  // 9
    {0x00, 0x00, 0x18, 0x18, 0x00, 0x00, 0x00, 0x18, 0x18, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
     0x00},  // :
}};

struct Canvas {
  std::uint8_t* image;
  int width;
  int height;
  int bytesPerPixel;

  void put(int x, int y, bool ink) const {
    if (x >= width || y >= height) return;
    const std::ptrdiff_t pixel = static_cast<std::ptrdiff_t>(y) * width + x;
    std::fill_n(image + pixel * bytesPerPixel, bytesPerPixel,
                ink ? std::uint8_t{255} : std::uint8_t{0});
  }
};

void drawText(const Canvas& canvas, int left, int top, std::string_view text) {
  for (const char character : text) {
    const std::size_t glyph = kCharacters.find(character);
    if (glyph != std::string_view::npos) {
      for (int row = 0; row < kGlyphRows; ++row) {
        const unsigned bits = kFont[glyph][static_cast<std::size_t>(kGlyphRows - 1 - row)];
        for (int x = 0; x < kGlyphWidth; ++x) {
          canvas.put(left + x, top + row, (bits >> (kGlyphWidth - 1 - x) & 1U) != 0);
        }
      }
    }
    left += kGlyphWidth;
  }
}

}  // namespace

// The function writes to the image through a canvas, which the check does not follow.
// NOLINTNEXTLINE(readability-non-const-parameter)
void drawTimeMark(std::uint8_t* image, int width, int height, int bytesPerPixel,
                  const TimeOfDay& time) noexcept {
  std::array<char, 64> date{};
  std::array<char, 64> clock{};
  const std::tm& local = time.local;
  std::snprintf(date.data(), date.size(), "%4d%02d%02d", local.tm_year + 1900, local.tm_mon + 1,
                local.tm_mday);
  std::snprintf(clock.data(), clock.size(), "%02d:%02d:%02d:%03d", local.tm_hour, local.tm_min,
                local.tm_sec, time.milliseconds);

  const Canvas canvas{image, width, height, bytesPerPixel};
  drawText(canvas, kMargin, kMargin, date.data());
  const int dateWidth = static_cast<int>(std::strlen(date.data()) + 1) * kGlyphWidth;
  const int clockWidth = static_cast<int>(std::strlen(clock.data())) * kGlyphWidth;
  if (kMargin + dateWidth + clockWidth <= width) {
    drawText(canvas, kMargin + dateWidth, kMargin, clock.data());
  } else {
    drawText(canvas, kMargin, kMargin + kGlyphRows, clock.data());
  }
}

}  // namespace orvik
