// SPDX-License-Identifier: MIT
// The parts of the virtual telescope: the path of the mount, the tilt of the air, and blurs.
#include "sim/telescope/telescope.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <numeric>

#include "sim/random.h"
#include "sim/sky/light_plane.h"
#include "sim/sky/star_profile.h"

namespace orvik::test {
namespace {

using namespace std::chrono_literals;
using sim::Offset;

TEST(Mount, APathHasTheMeanOfItsPlacesAndNotTooMany) {
  constexpr auto kPlugged = 100s;
  sim::Random random(1);
  for (const Offset drift : {Offset{0, 0}, Offset{0.02, 0.01}, Offset{-90, 40}}) {
    sim::Mount mount({.drift = drift, .guideRate = 10, .guideAngle = 20}, kPlugged);
    seam::Clock::Duration time = kPlugged;
    for (int n = 0; n < 400; ++n) {
      time += std::chrono::milliseconds(random.below(500));
      mount.guide(random.below(4), random.below(2) == 1, time);
    }
    for (int n = 0; n < 20; ++n) {
      const seam::Clock::Duration begins =
          kPlugged + std::chrono::milliseconds(random.below(100'000));
      const seam::Clock::Duration ends =
          begins + std::chrono::milliseconds(1 + random.below(n < 10 ? 50 : 30'000));
      Offset mean, expected;
      double weights = 0;
      const std::vector<sim::Place> path = mount.path(begins, ends);
      EXPECT_LE(path.size(), sim::Mount::kMostPlaces);
      for (const sim::Place& place : path) {
        mean = mean + place.offset * place.weight;
        weights += place.weight;
      }
      constexpr int kTimes = 5000;
      for (int k = 0; k < kTimes; ++k) {
        const auto at = begins + (ends - begins) * (2 * k + 1) / (2 * kTimes);
        expected = expected + mount.path(at, at).front().offset * (1.0 / kTimes);
      }
      EXPECT_NEAR(weights, 1, 1e-9);
      EXPECT_NEAR(mean.x, expected.x, 0.02);
      EXPECT_NEAR(mean.y, expected.y, 0.02);
    }
  }
}

TEST(Air, DancesInShortExposuresAndBlursLongOnesToItsWidth) {
  constexpr double kWidth = 4;
  constexpr int kTimes = 20000;
  const sim::Air air(kWidth, 1);
  double variance = 0, later = 0, along = 0;
  for (int n = 0; n < kTimes; ++n) {
    const double time = 0.37 * n;
    const Offset tilt = air.tilt(time, time + 0.001);
    const Offset after = air.tilt(time + 0.2, time + 0.201);
    variance += (tilt.x * tilt.x + tilt.y * tilt.y) / 2 / kTimes;
    later += (tilt.x * after.x + tilt.y * after.y) / 2 / kTimes;
    along += tilt.x * tilt.y / kTimes;
  }
  EXPECT_NEAR(std::sqrt(variance), 0.345 * kWidth, 0.05 * kWidth);
  EXPECT_NEAR(later / variance, std::exp(-1), 0.08) << "correlation after 0.2 s";
  EXPECT_LT(std::abs(along), 0.1 * variance) << "the axes are independent";
  EXPECT_NEAR(air.sigma(0.001) * 2.3548, 0.58 * kWidth, 0.02 * kWidth);
  EXPECT_NEAR(air.sigma(600) * 2.3548, kWidth, 0.02 * kWidth);
  const Offset mean = air.tilt(1000, 1600);
  EXPECT_LT(std::hypot(mean.x, mean.y), 0.05 * kWidth);
  EXPECT_NE(sim::Air(kWidth, 2).tilt(1, 1).x, air.tilt(1, 1).x);
  EXPECT_EQ(sim::Air(kWidth, 1).tilt(1, 1), air.tilt(1, 1));
}

TEST(Telescope, StarsKeepTheirLightAndWidenByAirAndDefocus) {
  struct Case {
    double sigma, disc;
    double halfFluxRadius;  // what the blur alone would have; 0 if the star's own counts as well
  };
  for (const Case& c : {Case{0, 0, 0}, Case{0.03, 0, 0}, Case{0, 0.03, 0}, Case{1.3, 0.7, 0},
                        Case{8, 0, 8 * std::sqrt(2 * std::numbers::ln2)},
                        Case{0, 30, 30 / std::numbers::sqrt2}, Case{1.5, 50, 35.4}}) {
    SCOPED_TRACE(testing::Message() << "sigma " << c.sigma << ", disc " << c.disc);
    const sim::StarProfile profile(c.sigma, c.disc);
    double light = 0, half = 0;
    for (double r = 0.005; r < 130; r += 0.01) {
      light += 2 * std::numbers::pi * r * 0.01 * profile.at(static_cast<float>(r));
      if (light < 0.5) half = r;
    }
    EXPECT_NEAR(light, 1, 0.01);
    if (c.halfFluxRadius > 0) {
      EXPECT_NEAR(half, c.halfFluxRadius, 0.04 * c.halfFluxRadius);
    }
    for (const float flux : {100.0F, 1e6F}) {
      const float reach = profile.reach(flux, 0.05F);
      EXPECT_LE(flux * profile.at(reach + 0.1F), 0.05F);
      if (reach > 0.2F) {
        EXPECT_GE(flux * profile.at(reach - 0.1F), 0.05F);
      }
    }
  }
  EXPECT_NEAR(sim::StarProfile(0.03, 0.03).at(1.3F), sim::StarProfile::sharp(1.3F * 1.3F), 1e-4);
}

TEST(Telescope, BlurredObjectsKeepTheirLightAndItsPlace) {
  constexpr sim::Area kSource{10, 20, 9, 5};
  sim::LightPlane source(kSource, sim::Mosaic::kMono);
  const std::vector<sim::Light> even(kSource.pixels(), sim::Light{0, 100, 0});
  source.put(kSource, even);
  constexpr sim::Area kAround = kSource.grown(60);
  for (const auto& [sigma, disc] :
       {std::pair{2.0, 0.0}, {0.0, 0.4}, {0.0, 0.9}, {0.0, 7.5}, {0.0, 8.0}, {3.0, 20.25}}) {
    SCOPED_TRACE(testing::Message() << "sigma " << sigma << ", disc " << disc);
    const sim::LightPlane wide = blurred(source, kAround, sim::Mosaic::kMono, sigma, disc);
    double light = 0, sumX = 0, sumY = 0, squareX = 0, squareY = 0;
    for (int y = kAround.y; y < kAround.bottom(); ++y) {
      const auto row = wide.row(0, kAround.x, y);
      for (int x = kAround.x; x < kAround.right(); ++x) {
        const double value = row[static_cast<std::size_t>(x - kAround.x)];
        light += value;
        sumX += value * (x - 14);
        sumY += value * (y - 22);
        squareX += value * (x - 14) * (x - 14);
        squareY += value * (y - 22) * (y - 22);
      }
    }
    EXPECT_NEAR(light, 4500, 2);
    EXPECT_NEAR(sumX / light, 0, 0.01);
    EXPECT_NEAR(sumY / light, 0, 0.01);
    // The source's own variance is (n^2 - 1) / 12. A pixel cannot show a disc of its own size.
    const double blur = sigma * sigma + disc * disc / 4;
    EXPECT_NEAR(squareX / light - 80 / 12.0, blur, 0.02 * blur + 0.2);
    EXPECT_NEAR(squareY / light - 24 / 12.0, blur, 0.02 * blur + 0.2);
    const sim::LightPlane part = blurred(source, {12, 18, 6, 6}, sim::Mosaic::kMono, sigma, disc);
    for (std::size_t n = 0; n < 6; ++n) {
      EXPECT_NEAR(part.row(0, 12, 21)[n], wide.row(0, 12, 21)[n], 1e-3) << "of a part alone";
    }
  }
}

}  // namespace
}  // namespace orvik::test
