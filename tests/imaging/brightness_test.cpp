// SPDX-License-Identifier: MIT
// What is told about brightness, and how it gets onto the screen.
#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <random>

#include "gtest/gtest.h"
#include "imaging/test_frame.h"
#include "imaging/view/frame_statistics.h"
#include "imaging/view/stretch.h"

namespace orvik::imaging {
namespace {

using test::TestImage;

TEST(Statistics, AreThoseOfAPlainCount) {
  struct Kind {
    IMG_TYPE type;
    std::optional<BayerPattern> mosaic;
    bool wideColour = false;
  };
  for (const Kind& kind :
       {Kind{Orvik_IMG_RAW8, {}}, Kind{Orvik_IMG_RAW16, {}}, Kind{Orvik_IMG_RGB24, {}, true},
        Kind{Orvik_IMG_RGB24, {}}, Kind{Orvik_IMG_RAW8, BAYER_GR}, Kind{Orvik_IMG_RAW16, BAYER_GB},
        Kind{Orvik_IMG_RAW16, BAYER_BG}}) {
    TestImage image({37, 23}, kind.type, kind.mosaic, kind.wideColour);
    image.fillRandomly(3);
    image.set(4, 4, image.depth());
    const ImageSource source = image.source();
    // Which channel a sample belongs to: red, green, blue.
    const auto channelOf = [&](int x, int y, int channel) {
      if (kind.type == Orvik_IMG_RGB24) return 2 - channel;
      if (!kind.mosaic) return 0;
      const RedSite red = redSite(*kind.mosaic);
      const bool redColumn = x % 2 == red.x;
      const bool redRow = y % 2 == red.y;
      return redColumn == redRow ? (redRow ? 0 : 2) : 1;
    };
    std::map<int, std::vector<int>> values;
    for (int y = 0; y < 23; ++y) {
      for (int x = 0; x < 37; ++x) {
        for (int c = 0; c < image.channels(); ++c) {
          values[channelOf(x, y, c)].push_back(image.at(x, y, c));
        }
      }
    }
    ValueCounts counts;
    counts.count(source);
    const auto statistics = statisticsOf(counts);
    ASSERT_EQ(statistics.size(), values.size());
    for (std::size_t channel = 0; channel < statistics.size(); ++channel) {
      std::vector<int>& plain = values[static_cast<int>(channel)];
      const ChannelStatistics& told = statistics[channel];
      EXPECT_EQ(told.min, *std::min_element(plain.begin(), plain.end()));
      EXPECT_EQ(told.max, *std::max_element(plain.begin(), plain.end()));
      double sum = 0;
      std::array<std::uint32_t, 256> histogram{};
      std::uint64_t saturated = 0;
      for (const int value : plain) {
        sum += value;
        ++histogram.at(static_cast<std::size_t>(value / ((image.depth() + 1) / 256)));
        if (value >= (image.depth() == 255 ? 255 : 0xFFC0)) ++saturated;
      }
      EXPECT_NEAR(told.mean, sum / static_cast<double>(plain.size()), 1e-6);
      EXPECT_EQ(told.histogram, histogram);
      EXPECT_EQ(told.saturated, saturated);
      std::sort(plain.begin(), plain.end());
      const auto below = static_cast<std::size_t>(0.3 * static_cast<double>(plain.size()));
      EXPECT_NEAR(quantile(counts.of(static_cast<int>(channel)), 0.3), plain[below], 1.01);
    }
    EXPECT_EQ(pixelAt(source, 4, 4)[0], image.at(4, 4, kind.type == Orvik_IMG_RGB24 ? 2 : 0));
    EXPECT_TRUE(pixelAt(source, 37, 0).empty());
    EXPECT_TRUE(pixelAt(source, 0, -1).empty());
  }
}

TEST(Stretch, TablesRiseFromBlackToWhite) {
  for (const Stretch& stretch : {Stretch{Stretch::Mode::kLinear, 0.2, 0.6, 50, 0.5},
                                 Stretch{Stretch::Mode::kAsinh, 0, 1, 1000, 0.5},
                                 Stretch{Stretch::Mode::kAsinh, 0.1, 0.11, 1, 0.5},
                                 Stretch{Stretch::Mode::kAuto, 0.01, 0.9, 50, 1e-4},
                                 Stretch{Stretch::Mode::kAuto, 0, 1, 50, 0.5}}) {
    StretchTable table;
    table.set(stretch);
    EXPECT_TRUE(std::is_sorted(table.wide(), table.wide() + 65536));
    EXPECT_TRUE(std::is_sorted(table.narrow(), table.narrow() + 256));
    const auto at = [&](double part) { return table.wide()[std::lround(65535 * part)]; };
    EXPECT_EQ(at(stretch.black), 0);
    EXPECT_GE(at(stretch.white), 254);
  }
  EXPECT_NEAR(brightness({Stretch::Mode::kLinear, 0.2, 0.6, 50, 0.5}, 0.3), 0.25, 1e-9);
  EXPECT_NEAR(brightness({Stretch::Mode::kAuto, 0, 1, 50, 0.01}, 0.01), 0.5, 1e-9);
}

/// Background and noise in parts of the depth, and a part of the pixels that is bright.
ValueCounts sky(double background, double noise, double brightPart, double bright, IMG_TYPE type) {
  TestImage image({200, 200}, type);
  std::mt19937 random(1);
  std::normal_distribution<double> normal(background, noise);
  std::uniform_real_distribution<double> uniform(0, 1);
  image.fill([&](int, int) {
    return image.depth() *
           (uniform(random) < brightPart ? bright * (0.8 + 0.2 * uniform(random)) : normal(random));
  });
  ValueCounts counts;
  counts.count(image.source());
  return counts;
}

TEST(Stretch, AutomaticShowsTheBackgroundDarkGrey) {
  for (const double background : {0.01, 0.05, 0.3}) {
    const auto stretch = autoStretch(sky(background, 0.001, 0.001, 0.9, Orvik_IMG_RAW16));
    EXPECT_NEAR(brightness(stretch, background), 0.2, 0.03) << background;
    EXPECT_GT(brightness(stretch, background - 0.002), 0) << background;
    EXPECT_GT(brightness(stretch, background + 0.01), 0.4) << background;
  }
  // Also with the few steps of eight bits, and without any noise.
  for (const double noise : {0.004, 0.0}) {
    const auto stretch = autoStretch(sky(0.05, noise, 0.001, 0.9, Orvik_IMG_RAW8));
    EXPECT_NEAR(brightness(stretch, 0.05), 0.2, 0.1) << noise;
  }
  // The Moon before a black sky is not white all over.
  const auto moon = autoStretch(sky(0.004, 0.002, 0.3, 0.5, Orvik_IMG_RAW8));
  EXPECT_LT(brightness(moon, 0.45), 0.95);
  EXPECT_GT(brightness(moon, 0.45), 0.6);
  // Nothing to be seen, or nothing but white.
  for (const double level : {0.0, 1.0}) {
    const auto stretch = autoStretch(sky(level, 0, 0, 0, Orvik_IMG_RAW8));
    EXPECT_LT(stretch.black, stretch.white);
    EXPECT_TRUE(std::isfinite(stretch.midtone));
  }
}

TEST(Stretch, AutomaticFollowsWithoutFlickering) {
  AutoStretch automatic;
  const auto first = automatic.next(sky(0.05, 0.002, 0.001, 0.9, Orvik_IMG_RAW16), 0.1);
  // The noise of a picture like the last one changes nothing.
  EXPECT_EQ(automatic.next(sky(0.0502, 0.002, 0.001, 0.9, Orvik_IMG_RAW16), 0.1), first);
  // Brighter: gradually there within two seconds.
  const auto brighter = sky(0.3, 0.002, 0.001, 0.9, Orvik_IMG_RAW16);
  const auto soon = automatic.next(brighter, 0.1);
  EXPECT_GT(soon.black, first.black);
  EXPECT_LT(soon.black, 0.2);
  Stretch later = soon;
  for (int i = 0; i < 20; ++i) later = automatic.next(brighter, 0.1);
  EXPECT_NEAR(brightness(later, 0.3), 0.2, 0.04);
  automatic.restart();
  EXPECT_NEAR(brightness(automatic.next(sky(0.1, 0.002, 0.001, 0.9, Orvik_IMG_RAW16), 0.1), 0.1),
              0.2, 0.03);
}

}  // namespace
}  // namespace orvik::imaging
