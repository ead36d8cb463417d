// SPDX-License-Identifier: MIT
// What pictures show of the sky: at rest, drifting, guided, in moving air, and out of focus.
#include <gtest/gtest.h>

#include <cmath>
#include <type_traits>

#include "sim/older_bench.h"

namespace orvik::test {
namespace {

using namespace std::chrono_literals;

constexpr int kGuideOn = 0xB0;
constexpr int kGuideOff = 0xB1;
constexpr int kShutter = 0x0B;  // register of the FPGA

/// All of a monochrome sensor, exposed for 8 ms.
constexpr Program kWhole{.columns = 1936,
                         .rows = 1216,
                         .wide = true,
                         .frameLines = 1300,
                         .shutterLine = 1200,
                         .lineCycles = 1500};

/// The part of it around the brightest star, with the same exposure.
constexpr Program kStar{.x = 1041,
                        .y = 661,
                        .columns = 200,
                        .rows = 200,
                        .wide = true,
                        .frameLines = 1300,
                        .shutterLine = 1200,
                        .lineCycles = 1500};

/// A T10M below a telescope, without noise, whose frames come when they are asked for.
class Observatory : public Bench {
 public:
  explicit Observatory(const sim::TelescopeOptions& telescope = {},
                       sim::SceneKind scene = sim::SceneKind::kStars, std::uint64_t seed = 1)
      : Bench(optionsOf(telescope, scene, seed), std::make_shared<ManualClock>(), "T10M") {}

  void pulse(int line, seam::Clock::Duration length) {
    out(kGuideOn, line);
    advance(length);
    out(kGuideOff, line);
    advance(1s);  // an exposure begins after the pulse
  }

 private:
  static sim::CameraOptions optionsOf(const sim::TelescopeOptions& telescope, sim::SceneKind scene,
                                      std::uint64_t seed) {
    sim::CameraOptions options = idealOptions();
    options.telescope = telescope;
    options.sceneKind = scene;
    options.seed = seed;
    return options;
  }
};

/// A frame as pixels, without its marks.
struct Image {
  int width, height;
  std::vector<double> pixels;

  Image(Bench& bench, const Program& p) : width(p.columns), height(p.rows) {
    const Bytes frame = bench.fetchFrame(p.frameBytes());
    EXPECT_EQ(frame.size(), p.frameBytes());
    for (std::size_t n = 0; n < frame.size() / 2; ++n) pixels.push_back(wordOf(frame, n) / 16);
    for (const std::size_t n : {0U, 1U}) pixels.at(n) = pixels.at(pixels.size() - 1 - n) = 0;
  }
  [[nodiscard]] double at(int x, int y) const {
    return pixels.at(static_cast<std::size_t>(y * width + x));
  }
};

/// The brightest star.
struct LeadStar {
  double x = 0, y = 0;              // centre
  double spreadX = 0, spreadY = 0;  // variance of its light along the axes

  explicit LeadStar(const Image& image, int reach = 6) {
    const auto peak = std::ranges::max_element(image.pixels) - image.pixels.begin();
    const auto x0 = static_cast<int>(peak % image.width);
    const auto y0 = static_cast<int>(peak / image.width);
    double light = 0, xx = 0, yy = 0;
    for (int v = y0 - reach; v <= y0 + reach; ++v) {
      for (int u = x0 - reach; u <= x0 + reach; ++u) {
        const double weight = std::max(image.at(u, v) - 0.05 * image.at(x0, y0), 0.0);
        light += weight;
        x += weight * u;
        y += weight * v;
        xx += weight * u * u;
        yy += weight * v * v;
      }
    }
    x /= light;
    y /= light;
    spreadX = xx / light - x * x;
    spreadY = yy / light - y * y;
  }
};

LeadStar starOf(Bench& bench) { return LeadStar(Image(bench, kStar)); }

TEST(Sky, PicturesOfASkyAtRestStayAsTheyWere) {
#ifndef __x86_64__
  GTEST_SKIP() << "other processors round in other places";
#endif
  const auto shot = [](const char* model, sim::SceneKind kind, const auto& program) {
    sim::CameraOptions options;
    options.pace = sim::Pace::kFree;
    options.sceneKind = kind;
    options.serial = 7;
    const auto checksum = [&](auto bench) {  // FNV-1a
      bench.start(program);
      std::uint64_t sum = 0xCBF29CE484222325U;
      for (const auto byte : bench.fetchFrame(program.frameBytes())) {
        sum = (sum ^ byte) * 0x100000001B3U;
      }
      return sum;
    };
    if constexpr (std::is_same_v<decltype(program), const Program&>) {
      return checksum(Bench(options, std::make_shared<ManualClock>(), model));
    } else {
      OlderBench bench(model, options);
      bench.set(Setting::kGain, 0);
      return checksum(std::move(bench));
    }
  };
  const Program whole{.columns = 1304, .rows = 976, .wide = true, .gain = 200, .frameLines = 994};
  const Program part{.x = 332, .y = 248, .columns = 640, .rows = 480, .gain = 200};
  const Program mono{
      .columns = 1936, .rows = 1216, .gain = 100, .frameLines = 1300, .lineCycles = 1500};
  const OlderProgram older{.x = 100, .y = 60, .columns = 320, .rows = 240};
  EXPECT_EQ(shot("T15C", sim::SceneKind::kStars, whole), 0x7C55F2A6925A9548U);
  EXPECT_EQ(shot("T15C", sim::SceneKind::kMoon, part), 0x7A2A330129A06068U);
  EXPECT_EQ(shot("T13C", sim::SceneKind::kPlanet, part), 0xAEC4386A05948BBFU);
  EXPECT_EQ(shot("T10M", sim::SceneKind::kStars, mono), 0x6DDEB80D7E50EECDU);
  EXPECT_EQ(shot("T06M", sim::SceneKind::kPlanet, older), 0x6D7ABA0813FB95F7U);
  EXPECT_EQ(shot("T02C", sim::SceneKind::kGradient, older), 0x235601587959A0E1U);
}

TEST(Sky, AGuidePulseMovesTheStarsByRateTimesTime) {
  struct Case {
    int line;
    double rate, angle;
    double x, y;  // expected
  };
  const double half = std::sqrt(0.5);
  for (const Case& c :
       {Case{0, 8, 0, 0, 4}, Case{1, 8, 0, 0, -4}, Case{2, 8, 0, 4, 0}, Case{3, 8, 0, -4, 0},
        Case{2, 20, 45, 10 * half, 10 * half}, Case{0, 20, 45, -10 * half, 10 * half},
        Case{1, 8, 90, 4, 0}, Case{2, 0, 0, 0, 0}}) {
    SCOPED_TRACE(testing::Message() << "line " << c.line << ", angle " << c.angle);
    Observatory bench({.guideRate = c.rate, .guideAngle = c.angle});
    bench.start(kStar);
    bench.advance(1s);
    const LeadStar before = starOf(bench);
    bench.pulse(c.line, 500ms);
    const LeadStar after = starOf(bench);
    EXPECT_NEAR(after.x - before.x, c.x, 0.05);
    EXPECT_NEAR(after.y - before.y, c.y, 0.05);
    bench.advance(1h);
    EXPECT_EQ(starOf(bench).x, after.x) << "the sky stays where it was moved to";
  }
}

TEST(Sky, OppositeLinesCancelAndALineThatIsOnTwiceMovesOnce) {
  Observatory bench;
  bench.start(kStar);
  bench.advance(1s);
  const LeadStar before = starOf(bench);
  bench.out(kGuideOn, 2);
  bench.out(kGuideOn, 3);
  bench.advance(2s);
  EXPECT_EQ(starOf(bench).x, before.x);
  bench.out(kGuideOff, 3);
  bench.out(kGuideOn, 2);
  bench.advance(250ms);
  bench.out(kGuideOff, 2);
  bench.advance(1s);
  EXPECT_NEAR(starOf(bench).x - before.x, 2, 0.05);
}

TEST(Sky, DriftsFromThePluggingOnAndTrailsInALongExposure) {
  Observatory bench({.drift = {1.5, -0.5}});
  bench.start(kStar);
  const LeadStar before = starOf(bench);
  bench.advance(10s);
  const LeadStar after = starOf(bench);
  EXPECT_NEAR(after.x - before.x, 15, 0.05);
  EXPECT_NEAR(after.y - before.y, -5, 0.05);

  const auto exposed = [](double drift) {
    Observatory hostTimed({.drift = {drift, 0}});
    hostTimed.program(kStar);
    hostTimed.run(0xE1);
    hostTimed.fpga(kShutter, 1);
    hostTimed.advance(20ms);
    hostTimed.fpga(kShutter, 0);
    return LeadStar(Image(hostTimed, kStar), 14);
  };
  const LeadStar sharp = exposed(0);
  const LeadStar trailed = exposed(600);
  // A line of 12 pixels has a variance of 12 x 12 / 12; the middle of the exposure is its centre.
  EXPECT_NEAR(trailed.spreadX - sharp.spreadX, 12, 1.5);
  EXPECT_NEAR(trailed.spreadY, sharp.spreadY, 0.5);
  EXPECT_NEAR(trailed.x - sharp.x, 6, 0.3);
}

TEST(Sky, AFrameShowsTheSkyOfItsExposureHoweverLateItIsMade) {
  sim::CameraOptions options = idealOptions();
  options.pace = sim::Pace::kReal;
  options.telescope.drift = {60, 0};
  Bench bench(options, std::make_shared<ManualClock>(), "T10M");
  bench.start(kStar);
  bench.advance(kStar.frameTime());
  const LeadStar drifted(Image(bench, kStar));
  Observatory still;
  still.start(kStar);
  const double exposed = std::chrono::duration<double>(kStar.frameTime()).count() -
                         std::chrono::duration<double>(kStar.readoutTime()).count() -
                         kStar.exposureSeconds() / 2;
  EXPECT_NEAR(drifted.x - starOf(still).x, 60 * exposed, 0.1);
}

TEST(Sky, OtherStarsComeIntoViewAndTheFirstOnesComeBack) {
  Observatory bench({.guideRate = 100});
  Program p = kWhole;
  p.shutterLine = 0;
  bench.start(p);
  const auto count = [&] {
    const Image image(bench, p);
    int stars = 0;
    for (int y = 1; y + 1 < image.height; ++y) {
      for (int x = 1; x + 1 < image.width; ++x) {
        const double value = image.at(x, y);
        if (value > 3 && value > image.at(x - 1, y) && value >= image.at(x + 1, y) &&
            value > image.at(x, y - 1) && value >= image.at(x, y + 1)) {
          ++stars;
        }
      }
    }
    return stars;
  };
  const int stars = count();
  EXPECT_GT(stars, 100);
  const Bytes first = bench.fetchFrame(p.frameBytes());
  for (const int line : {2, 0}) {  // by half of the sensor to the right, and down
    bench.pulse(line, 10s);
    EXPECT_NEAR(count(), stars, 0.25 * stars);
  }
  for (const int line : {3, 1}) bench.pulse(line, 10s);
  const Bytes last = bench.fetchFrame(p.frameBytes());
  EXPECT_TRUE(std::equal(first.begin() + 4, first.end() - 4, last.begin() + 4));
}

TEST(Sky, WhatIsWorkedOutInPiecesFitsTogether) {
  Program p{.columns = 300, .rows = 200, .wide = true, .lineCycles = 700};
  struct Case {
    sim::SceneKind scene;
    double seeing;
    int lines[2];
    int x, y;  // from where the object moves into view
  };
  for (const Case& c : {Case{sim::SceneKind::kMoon, 0, {2, 1}, 1100, 400},
                        Case{sim::SceneKind::kMoon, 3, {3, 0}, 560, 620},
                        Case{sim::SceneKind::kPlanet, 0, {3, 0}, 560, 620},
                        Case{sim::SceneKind::kPlanet, 3, {2, 1}, 1100, 400}}) {
    p.x = c.x;
    p.y = c.y;
    SCOPED_TRACE(testing::Message() << static_cast<int>(c.scene) << ", seeing " << c.seeing);
    const sim::TelescopeOptions telescope{.guideRate = 50, .seeing = c.seeing};
    Observatory inSteps(telescope, c.scene);
    Observatory atOnce(telescope, c.scene);
    inSteps.start(p);
    atOnce.start(p);
    for (int n = 0; n < 5; ++n) {
      for (const int line : c.lines) inSteps.pulse(line, 1s);
      inSteps.fetchFrame(p.frameBytes());
    }
    for (const int line : c.lines) atOnce.pulse(line, 5s);
    atOnce.advance(8s);  // as much time as in steps
    const Image stepped(inSteps, p);
    EXPECT_EQ(stepped.pixels, Image(atOnce, p).pixels);
    EXPECT_GT(std::ranges::max(stepped.pixels), 300) << "the object is in view";
  }
}

TEST(Sky, AWholeStepMovesAnObjectWithoutChangingIt) {
  Program p = kWhole;
  p.shutterLine = 1250;
  Observatory bench({.guideRate = 100}, sim::SceneKind::kMoon);
  bench.start(p);
  const Image before(bench, p);
  bench.pulse(2, 1s);
  const Image after(bench, p);
  double largest = 0;
  for (int y = 0; y < p.rows; ++y) {
    for (int x = 100; x < p.columns; ++x) {
      const auto vignette = [&](int column) {
        return 1 - 0.125 * (std::pow(2.0 * column / p.columns - 1, 2) +
                            std::pow(2.0 * y / p.rows - 1, 2));
      };
      const double expected = before.at(x - 100, y) / vignette(x - 100) * vignette(x);
      if (y > 0 && y + 1 < p.rows) largest = std::max(largest, std::abs(after.at(x, y) - expected));
    }
  }
  EXPECT_LT(largest, 1.6) << "the rounding of two pictures";
}

TEST(Sky, FocusGoesThroughItsBestAndBack) {
  Observatory bench({.focus = {.from = -8, .to = 12, .seconds = 200}});
  bench.start(kStar);
  const auto spread = [&] { return LeadStar(Image(bench, kStar), 20).spreadX; };
  const double defocused = spread();
  bench.advance(80s);
  const double sharp = spread();
  // A disc has a variance of a quarter of its radius squared along each axis.
  EXPECT_NEAR(defocused - sharp, 8.0 * 8 / 4, 2);
  bench.advance(80s);
  EXPECT_NEAR(spread(), defocused, 0.5) << "as wide on the other side";
  bench.advance(1h);
  EXPECT_NEAR(spread() - sharp, 12.0 * 12 / 4, 4) << "and there it stays";
}

TEST(Sky, TheSameSeedGivesTheSameDance) {
  const auto series = [](std::uint64_t seed) {
    Observatory bench({.seeing = 4}, sim::SceneKind::kStars, seed);
    bench.start(kStar);
    std::vector<double> places;
    for (int n = 0; n < 4; ++n) {
      bench.advance(500ms);
      places.push_back(starOf(bench).x);
    }
    return places;
  };
  const std::vector<double> first = series(1);
  EXPECT_EQ(series(1), first);
  const auto [least, most] = std::ranges::minmax(first);
  EXPECT_GT(most - least, 0.3) << "it dances";
}

TEST(Sky, NothingMovesWhatFillsTheView) {
  constexpr Program kSmall{.wide = true, .lineCycles = 700};
  for (const auto scene : {sim::SceneKind::kGrey, sim::SceneKind::kGradient}) {
    Observatory bench({.drift = {9, 9}, .seeing = 3, .focus = {.to = 10}}, scene);
    bench.start(kSmall);
    const Image before(bench, kSmall);
    bench.advance(10s);
    EXPECT_EQ(Image(bench, kSmall).pixels, before.pixels);
  }
}

}  // namespace
}  // namespace orvik::test
