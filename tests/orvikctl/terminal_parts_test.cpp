// SPDX-License-Identifier: MIT
// The parts that draw in a terminal, and what they draw of the focus.
#include <array>
#include <cmath>
#include <limits>

#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "tools/orvikctl/failure.h"
#include "tools/orvikctl/look/focus_course.h"
#include "tools/orvikctl/look/picture_view.h"
#include "tools/orvikctl/terminal/picture_text.h"
#include "tools/orvikctl/terminal/plot.h"
#include "tools/orvikctl/terminal/redrawn_area.h"

namespace orvik::ctl {
namespace {

using Lines = std::vector<std::string>;
constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

TEST(Plot, LeavesOutWhatIsNoNumber) {
  const std::array gap = {Course{{9, 2, kNone, 4}, '*'}, Course{{kNone, 2, 2, 2}, '-'}};
  EXPECT_EQ(plotLines(gap, {.columns = 3, .rows = 3, .decimals = 2}),
            (Lines{"  4.00 |  *", "  3.00 |   ", "  2.00 |---"}));
  const std::array none = {Course{{kNone}, '*'}};
  EXPECT_TRUE(plotLines(none, {}).empty());
  const std::array flat = {Course{{3, 3}, '*'}};
  EXPECT_EQ(plotLines(flat, {.columns = 2, .rows = 2, .leastSpan = 5}),
            (Lines{"   8.0 |  ", "   3.0 |**"}));
}

TEST(RedrawnArea, DrawsOverWhatItHasDrawn) {
  RedrawnArea area;
  EXPECT_EQ(area.draw({"one", "two", "three"}), "\r\033[Kone\n\r\033[Ktwo\n\r\033[Kthree\n");
  EXPECT_EQ(area.draw({"1", "2"}, Graphics{1, 5, "PICTURE", "REMOVE"}),
            "\033[3AREMOVE\r\033[K1\n\r\033[K2\n\033[J\0337\033[1A\033[5CPICTURE\0338");
}

TEST(ReducedPicture, KeepsStarsAndTheMeanOfTheRest) {
  constexpr int kSide = 9;
  std::vector<std::uint8_t> pixels(std::size_t{3} * kSide * kSide, 40);
  const auto at = [](int x, int y, int channel) {
    return static_cast<std::size_t>((y * kSide + x) * 3 + channel);
  };
  for (int channel = 0; channel < 3; ++channel) pixels[at(4, 5, channel)] = 200;
  pixels[at(8, 0, 1)] = 49;
  std::vector<std::uint8_t> reduced;
  const Picture result = reducedKeepingStars({pixels, {kSide, kSide}, true}, 3, reduced);
  EXPECT_EQ(result.size, (imaging::Size{3, 3}));
  std::vector<std::uint8_t> expected(27, 40);
  for (int channel = 0; channel < 3; ++channel) {
    expected[static_cast<std::size_t>((1 * 3 + 1) * 3 + channel)] = 150;
  }
  expected[2 * 3 + 1] = 41;
  EXPECT_EQ(reduced, expected);
}

TEST(TerminalKind, FollowsTheEnvironment) {
  struct Row {
    Lines environment;
    Colours colours;
    bool sixel;
    bool kitty;
  };
  for (const Row& row :
       {Row{{}, Colours::kNone, false, false},
        Row{{"TERM=dumb", "COLORTERM=truecolor"}, Colours::kNone, false, false},
        Row{{"TERM=linux"}, Colours::k16, false, false},
        Row{{"TERM=xterm-256color"}, Colours::k256, false, false},
        Row{{"TERM=xterm-256color", "COLORTERM=truecolor"}, Colours::kTrue, false, false},
        Row{{"TERM=xterm-256color", "NO_COLOR=1"}, Colours::kNone, false, false},
        Row{{"TERM=xterm-kitty", "COLORTERM=truecolor"}, Colours::kTrue, false, true},
        Row{{"TERM=foot", "COLORTERM=truecolor"}, Colours::kTrue, true, false},
        Row{{"TERM=xterm-256color", "COLORTERM=24bit", "TERM_PROGRAM=WezTerm"},
            Colours::kTrue,
            true,
            false},
        // The program that runs inside kitty does not show kitty's graphics.
        Row{{"TERM=tmux-256color", "KITTY_WINDOW_ID=1"}, Colours::k256, false, false}}) {
    SCOPED_TRACE(testing::PrintToString(row.environment));
    const TerminalKind kind = terminalKind(row.environment);
    EXPECT_EQ(kind.colours, row.colours);
    EXPECT_EQ(kind.sixel, row.sixel);
    EXPECT_EQ(kind.kitty, row.kitty);
  }
  EXPECT_TRUE(namesSixel("\033[?62;4;22c"));
  for (const char* other : {"", "\033[?62;14;40c", "\033[?4", "4c", "\033[?c"}) {
    EXPECT_FALSE(namesSixel(other)) << other;
  }
}

TEST(PictureText, KeepsProportionsForEveryWidth) {
  // White at the right: no row may be shifted against the one before, whatever its length in bytes.
  for (const int width : {16, 17, 18, 19}) {
    for (const bool isColour : {false, true}) {
      const int bytes = isColour ? 3 : 1;
      std::vector<std::uint8_t> pixels;
      for (int y = 0; y < 16; ++y) {
        for (int i = 0; i < width * bytes; ++i) pixels.push_back(i / bytes < width / 2 ? 0 : 255);
      }
      const PictureText text = textOf({pixels, {width, 16}, isColour}, PictureMode::kHalf,
                                      Colours::kNone, {.columns = 60, .rows = 10});
      EXPECT_EQ(text.rows, 10);
      EXPECT_NEAR(text.columns, 20 * width / 16.0, 1.5);
      ASSERT_EQ(text.lines.size(), 10U);
      for (const std::string& line : text.lines) {
        const auto edge = static_cast<double>(line.find_first_not_of(' '));
        EXPECT_NEAR(edge, text.columns / 2.0, 1.5) << width;
        EXPECT_TRUE(line.ends_with("█████"));
      }
    }
  }
  const std::array<std::uint8_t, 4> grey{};
  EXPECT_THAT(textOf({grey, {2, 2}}, PictureMode::kSixel, Colours::kTrue, {}).graphics,
              testing::StartsWith("\033P"));
  EXPECT_THAT(textOf({grey, {2, 2}}, PictureMode::kKitty, Colours::kTrue, {}).graphics,
              testing::StartsWith("\033_G"));
}

TEST(PictureView, LooksAtAPart) {
  std::vector<std::uint8_t> pixels(std::size_t{64} * 48);
  for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<std::uint8_t>(i % 64);
  const imaging::ImageSource image{pixels, {64, 48}, Orvik_IMG_RAW8, std::nullopt};
  const auto first = [&](const LookOptions& look) {
    PictureView view(look);
    view.take(image, 0);
    const Picture picture = view.picture(image, image.size);
    return std::array<int, 3>{picture.size.width, picture.size.height, picture.pixels[0]};
  };
  EXPECT_EQ(first({.isLinear = true}), (std::array{64, 48, 0}));
  EXPECT_EQ(first({.isLinear = true, .zoom = 2}), (std::array{32, 24, 16}));
  EXPECT_EQ(first({.isLinear = true, .crop = Region{20, 10, Region::Position{3, 0}}}),
            (std::array{20, 10, 3}));
  EXPECT_EQ(first({.isLinear = true, .crop = Region{32, 10, {}}, .zoom = 2}),
            (std::array{16, 5, 24}));
  EXPECT_THROW(first({.crop = Region{60, 10, Region::Position{8, 0}}}), Failure);
}

imaging::Star star(double hfr, bool isSaturated = false) {
  imaging::Star star;
  star.hfr = hfr;
  star.fwhm = 2 * hfr;
  star.peak = 200;
  star.saturated = isSaturated;
  return star;
}

TEST(StarReading, LeavesSaturatedStarsOutIfOthersAreThere) {
  EXPECT_FALSE(readingOf({}));
  const auto mixed = readingOf({star(9, true), star(2), star(4), star(3)});
  EXPECT_EQ(mixed->stars, 4);
  EXPECT_EQ(mixed->hfr, 3);
  EXPECT_EQ(mixed->fwhm, 6);
  EXPECT_EQ(mixed->brightest.hfr, 9);
  EXPECT_EQ(readingOf({star(9, true), star(7, true)})->hfr, 8);
}

TEST(FocusCourse, KeepsTheBestAndAPointForEachHalfSecond) {
  FocusCourse course;
  const auto add = [&](double seconds, std::int64_t frame, std::vector<imaging::Star> stars) {
    course.add({seconds, frame, 255, {100, 50}, readingOf(stars)});
  };
  add(0.1, 1, {});
  EXPECT_EQ(bestText(course), "no star was found");
  EXPECT_THAT(focusText(course), testing::HasSubstr("no star found"));
  EXPECT_TRUE(focusJson(course)["hfr"].is_null());
  add(0.2, 2, {star(4)});
  add(0.4, 3, {star(2)});
  add(61.5, 4, {star(5)});
  EXPECT_EQ(course.radii(), (std::vector<double>{3, 5}));
  EXPECT_EQ(course.bestRadii(), (std::vector<double>{2, 2}));
  EXPECT_EQ(focusText(course),
            "1:01  1 star  HFR 5.00  FWHM 10.00  peak 200 (78 %)  best 2.00 at 0:00");
  EXPECT_EQ(bestText(course), "best HFR 2.00 at 0:00, frame 3");
  const Json json = focusJson(course);
  EXPECT_EQ(json["x"], 100);
  EXPECT_EQ(json["best"], 2);
  EXPECT_EQ(json["frame"], 4);
}

}  // namespace
}  // namespace orvik::ctl
