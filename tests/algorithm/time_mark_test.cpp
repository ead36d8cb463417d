// SPDX-License-Identifier: MIT
#include "algorithm/time_mark.h"

#include <map>
#include <set>
#include <string>

#include "algorithm/frame.h"

namespace orvik::test {
namespace {

TimeOfDay at(int hour, int minute, int second, int millisecond) {
  TimeOfDay time{.local = {}, .milliseconds = millisecond};
  time.local.tm_year = 126;
  time.local.tm_mon = 10;
  time.local.tm_mday = 21;
  time.local.tm_hour = hour;
  time.local.tm_min = minute;
  time.local.tm_sec = second;
  return time;
}

constexpr int kWidth = 240;
constexpr int kHeight = 40;

/// The 8 x 11 pixels of the glyph at a place, as text.
std::string glyphAt(const Frame<std::uint8_t>& image, int left, int top) {
  std::string glyph;
  for (int y = 0; y < 11; ++y) {
    for (int x = 0; x < 8; ++x) {
      const int value = image[static_cast<size_t>((top + y) * kWidth + left + x)];
      glyph += value == 255 ? 'X' : value == 0 ? '.' : '?';
    }
    glyph += '\n';
  }
  return glyph;
}

TEST(TimeMark, DateAndTimeInDigitsThatDiffer) {
  Frame<std::uint8_t> image(kWidth * kHeight, 128);
  drawTimeMark(image.data(), kWidth, kHeight, 1, at(4, 53, 6, 789));
  const std::string text = "20261121 04:53:06:789";
  std::map<char, std::string> glyphs;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == ' ') continue;
    const std::string glyph = glyphAt(image, 8 + 8 * static_cast<int>(i), 8);
    ASSERT_EQ(glyph.find('?'), std::string::npos);
    const auto [known, isNew] = glyphs.emplace(text[i], glyph);
    EXPECT_EQ(known->second, glyph) << "the same character, the same glyph";
  }
  std::set<std::string> shapes;
  for (const auto& [character, glyph] : glyphs) shapes.insert(glyph);
  EXPECT_EQ(glyphs.size(), 11U) << "all digits and the colon are in the text";
  EXPECT_EQ(shapes.size(), 11U);
  // The glyphs are upright: a seven has its bar at the top; the dots of a colon are equal.
  const std::string seven = glyphs['7'];
  EXPECT_GT(std::count(seven.begin(), seven.begin() + 27, 'X'),
            std::count(seven.end() - 27, seven.end(), 'X'));
  EXPECT_TRUE(image.guardsIntact());
}

TEST(TimeMark, ColourImagesCarryTheSameMark) {
  Frame<std::uint8_t> grey(kWidth * kHeight, 128);
  Frame<std::uint8_t> colour(3 * kWidth * kHeight, 128);
  drawTimeMark(grey.data(), kWidth, kHeight, 1, at(1, 2, 3, 4));
  drawTimeMark(colour.data(), kWidth, kHeight, 3, at(1, 2, 3, 4));
  for (size_t i = 0; i < colour.size(); ++i) ASSERT_EQ(colour[i], grey[i / 3]);
}

TEST(TimeMark, NeverWritesOutsideTheImage) {
  for (const int bytes : {1, 3}) {
    for (int width = 0; width < 220; width += 7) {
      for (const int height : {0, 1, 8, 12, 19, 25, 40}) {
        const auto size = static_cast<size_t>(width * height * bytes);
        Frame<std::uint8_t> image(size, 128);
        drawTimeMark(image.data(), width, height, bytes, at(23, 59, 59, 999));
        ASSERT_TRUE(image.guardsIntact()) << width << "x" << height;
        // It must not wrap into the margin of the next row.
        for (int y = 0; y < height; ++y) {
          for (int i = 0; i < std::min(8, width) * bytes; ++i) {
            ASSERT_EQ(image[static_cast<size_t>(y * width * bytes + i)], 128);
          }
        }
      }
    }
  }
  TimeOfDay absurd = at(-2000000000, 2000000000, -1, -2147483647);
  absurd.local.tm_year = 2000000000;
  Frame<std::uint8_t> image(100 * 40, 128);
  drawTimeMark(image.data(), 100, 40, 1, absurd);
  EXPECT_TRUE(image.guardsIntact());
}

}  // namespace
}  // namespace orvik::test
