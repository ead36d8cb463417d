// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "sim/bench.h"

namespace orvik::test {
namespace {

using namespace std::chrono_literals;

/// The same light everywhere.
class FlatScene final : public sim::Scene {
 public:
  explicit FlatScene(float flux) : flux_(flux) {}
  void illuminate(const sim::SensorFormat&, const sim::Area&,
                  std::span<float> flux) const override {
    std::ranges::fill(flux, flux_);
  }

 private:
  float flux_;
};

struct Statistics {
  double mean = 0;
  double deviation = 0;
};

/// Of the 12-bit samples of a 16-bit frame, the four marked ones left out.
Statistics statisticsOf(const Bytes& frame) {
  std::vector<double> samples;
  for (std::size_t n = 2; n + 2 < frame.size() / 2; ++n) samples.push_back(wordOf(frame, n) / 16);
  // Hot pixels must not disturb the figures of the rest.
  std::ranges::sort(samples);
  samples.resize(samples.size() - samples.size() / 1000);
  Statistics s;
  const auto count = static_cast<double>(samples.size());
  s.mean = std::accumulate(samples.begin(), samples.end(), 0.0) / count;
  for (const double value : samples) s.deviation += (value - s.mean) * (value - s.mean);
  s.deviation = std::sqrt(s.deviation / count);
  return s;
}

struct Setting {
  float flux = 0;  ///< electrons per second
  int gain = 0;
  int frameLines = 1000;
  double ambient = 20;
  int blackLevel = 0;
  std::uint32_t serial = 1;
  std::uint64_t seed = 1;
  int coolerDrive = -1;  ///< for the last hour, of a cooled camera; below 0 one without cooler
};

Program programOf(const Setting& setting) {
  Program p;
  p.columns = 400;
  p.rows = 400;
  p.wide = true;
  p.gain = setting.gain;
  p.frameLines = setting.frameLines;
  p.blackLevel = setting.blackLevel;
  return p;
}

Bytes frameOf(const Setting& setting) {
  sim::CameraOptions options;
  options.pace = sim::Pace::kFree;
  options.scene = std::make_shared<FlatScene>(setting.flux);
  options.ambient = setting.ambient;
  options.serial = setting.serial;
  options.seed = setting.seed;
  const bool cooled = setting.coolerDrive >= 0;
  Bench bench(options, std::make_shared<ManualClock>(), cooled ? "T13C_C" : "T15C");
  if (cooled) {
    bench.out(0xB2, setting.coolerDrive);
    bench.advance(1h);
  }
  const Program p = programOf(setting);
  bench.start(p);
  return bench.fetchFrame(p.frameBytes());
}

Statistics measure(const Setting& setting) { return statisticsOf(frameOf(setting)); }

double electronsOf(const Setting& setting) {
  return setting.flux * programOf(setting).exposureSeconds();
}

TEST(Physics, SignalFollowsExposureGainAndBlackLevel) {
  const Setting base{.flux = 100000, .frameLines = 1000};
  const double level = measure(base).mean;
  EXPECT_NEAR(level, electronsOf(base) * 4095 / 14000, 1);

  Setting twice = base;
  twice.frameLines = 1999;
  EXPECT_NEAR(measure(twice).mean, 2 * level, 2);

  Setting louder = base;
  louder.gain = 60;  // 6 dB
  EXPECT_NEAR(measure(louder).mean, level * std::pow(10, 0.3), 2);

  Setting raised = base;
  raised.blackLevel = 200;
  EXPECT_NEAR(measure(raised).mean, level + 200, 1);
}

TEST(Physics, NoiseIsPhotonAndReadNoise) {
  const Setting lit{.flux = 100000, .gain = 100};
  const double stepsPerElectron = 4095.0 / 14000 * std::sqrt(10);
  EXPECT_NEAR(measure(lit).deviation, std::sqrt(electronsOf(lit) + 2.2 * 2.2) * stepsPerElectron,
              0.5);

  const Setting unlit{.gain = 200, .blackLevel = 240};
  EXPECT_NEAR(measure(unlit).deviation, 2.2 * 4095.0 / 14000 * 10, 0.3);
}

TEST(Physics, FullPixelsSaturateWithoutNoise) {
  for (const int gain : {0, 200}) {
    const Statistics s = measure({.flux = 1e8F, .gain = gain});
    EXPECT_EQ(s.mean, 4095);
    EXPECT_EQ(s.deviation, 0);
  }
  const Setting bright{.flux = 80000, .gain = 400};
  EXPECT_EQ(measure(bright).mean, 4095) << "the converter saturates before the pixel is full";
}

TEST(Physics, DarkCurrentDoublesEverySixDegreesAndFollowsTheCooler) {
  const auto darkSignal = [](double ambient, int drive = -1) {
    return measure({.gain = 300,
                    .frameLines = 600000,
                    .ambient = ambient,
                    .blackLevel = 100,
                    .coolerDrive = drive})
               .mean -
           100;
  };
  const double cool = darkSignal(20);
  EXPECT_GT(cool, 5);
  EXPECT_NEAR(darkSignal(26) / cool, 2, 0.05);
  EXPECT_NEAR(darkSignal(32) / cool, 4, 0.1);
  EXPECT_NEAR(6 * std::log2(darkSignal(38, 255) / darkSignal(38, 0)), 35, 1);
}

TEST(Physics, HotPixelsBelongToTheSerialNumber) {
  const Setting dark{.gain = 300, .frameLines = 300000, .blackLevel = 100};
  Setting otherSeed = dark;
  otherSeed.seed = 2;
  Setting otherSerial = dark;
  otherSerial.serial = 2;
  const Bytes frame = frameOf(dark);
  const Bytes sameSensor = frameOf(otherSeed);
  const Bytes otherSensor = frameOf(otherSerial);
  int hot = 0;
  int hotInOtherSensor = 0;
  for (std::size_t n = 2; n + 2 < frame.size() / 2; ++n) {
    if (wordOf(frame, n) / 16 < 1000) continue;
    ++hot;
    EXPECT_GT(wordOf(sameSensor, n) / 16, 500) << "place " << n;
    if (wordOf(otherSensor, n) / 16 > 500) ++hotInOtherSensor;
  }
  EXPECT_GT(hot, 5);
  EXPECT_LT(hot, 50);
  EXPECT_LT(hotInOtherSensor, 2);
}

TEST(Physics, NoiseOfTwoFramesIsIndependent) {
  sim::CameraOptions options;
  options.pace = sim::Pace::kFree;
  options.serial = 1;
  options.scene = std::make_shared<FlatScene>(100000.0F);
  Bench bench(options);
  const Program p = programOf({.gain = 100});
  bench.start(p);
  const Bytes first = bench.fetchFrame(p.frameBytes());
  EXPECT_EQ(frameOf({.flux = 100000, .gain = 100}), first) << "the seed decides the noise";
  EXPECT_NE(frameOf({.flux = 100000, .gain = 100, .seed = 2}), first);
  const Bytes second = bench.fetchFrame(p.frameBytes());
  const Statistics a = statisticsOf(first);
  const Statistics b = statisticsOf(second);
  double covariance = 0;
  const std::size_t words = first.size() / 2;
  for (std::size_t n = 2; n + 2 < words; ++n) {
    covariance += (wordOf(first, n) / 16 - a.mean) * (wordOf(second, n) / 16 - b.mean);
  }
  covariance /= static_cast<double>(words);
  EXPECT_LT(std::abs(covariance), 0.02 * a.deviation * b.deviation);
}

TEST(Physics, EveryScenePutsSomethingIntoAnOrdinaryPicture) {
  struct Case {
    sim::SceneKind kind;
    int frameLines;
    int gain;
    double darkest, brightest;  // bounds of the mean
  };
  for (const Case& c : {Case{sim::SceneKind::kStars, 95000, 250, 30, 1000},
                        Case{sim::SceneKind::kMoon, 994, 200, 300, 2500},
                        Case{sim::SceneKind::kPlanet, 994, 200, 100, 2500},
                        Case{sim::SceneKind::kGrey, 994, 200, 800, 3000},
                        Case{sim::SceneKind::kGradient, 994, 200, 800, 3500},
                        Case{sim::SceneKind::kDark, 994, 200, 0, 20}}) {
    sim::CameraOptions options;
    options.pace = sim::Pace::kFree;
    options.sceneKind = c.kind;
    Bench bench(options);
    Program p;
    p.columns = 1304;
    p.rows = 976;
    p.wide = true;
    p.frameLines = c.frameLines;
    p.shutterLine = c.frameLines == 994 ? 358 : 0;  // 10 ms
    p.gain = c.gain;
    bench.start(p);
    const Statistics s = statisticsOf(bench.fetchFrame(p.frameBytes()));
    EXPECT_GE(s.mean, c.darkest) << "scene " << static_cast<int>(c.kind);
    EXPECT_LE(s.mean, c.brightest) << "scene " << static_cast<int>(c.kind);
  }
}

}  // namespace
}  // namespace orvik::test
