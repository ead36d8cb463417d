// SPDX-License-Identifier: MIT
// Where the samples of a frame come from: cameras whose frames carry a mark at either end (Frame),
// and older ones whose frames end with a mark (OlderFrame).
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>

#include "sim/older_bench.h"
#include "sim/position_scene.h"

namespace orvik::test {
namespace {

using namespace std::chrono_literals;

constexpr std::chrono::seconds kSoon{60};
constexpr const char* kOlderBoards[] = {"T06C_S", "T02C"};  // one of each kind

/// A scene in which each pixel's code is its signal at no gain.
sim::CameraOptions positionOptions(const char* model, double exposureSeconds) {
  sim::CameraOptions options = idealOptions();
  const double electronsPerStep = sim::findModel(model)->pixel.fullScale / 4095;
  options.scene = std::make_shared<PositionScene>(electronsPerStep / exposureSeconds);
  return options;
}

Bench benchFor(const Program& p, const char* model = "T15C") {
  return Bench(positionOptions(model, p.exposureSeconds()), std::make_shared<ManualClock>(), model);
}

OlderBench benchFor(const char* model, const OlderProgram& p) {
  OlderBench bench(model, positionOptions(model, p.exposureLines * p.lineCycles / 24e6));
  bench.set(Setting::kGain, 0);
  return bench;
}

/// The sensor's region in a frame, and how its samples are stored.
struct Layout {
  explicit Layout(const Program& p)
      : x(p.x), y(p.y), width(p.columns / p.bin()), height(p.rows / p.bin()), wide(p.wide) {
    bin = p.bin();
    blackLevel = p.blackLevel;
    headBytes = 4;
  }
  explicit Layout(const OlderProgram& p)
      : x(p.x), y(p.y), width(p.columns), height(p.rows), wide(p.wide) {}

  int x, y, width, height;
  bool wide;
  int bin = 1, blackLevel = 0;
  int headBytes = 0;  ///< of the mark; only frames with one have little-endian samples

  [[nodiscard]] int bytes() const { return width * height * (wide ? 2 : 1); }
  [[nodiscard]] int sampleAt(const Bytes& frame, int column, int row) const {
    const auto at = static_cast<std::size_t>(row * width + column);
    if (!wide) return frame.at(at);
    return headBytes > 0 ? wordOf(frame, at) : frame.at(2 * at) * 256 + frame.at(2 * at + 1);
  }
  /// The 12-bit sample that the frame must hold: the rounded mean of the bin x bin nearest sensor
  /// pixels of its colour.
  [[nodiscard]] int expectedSample(int column, int row) const {
    int sum = 0;
    for (int n = 0; n < bin * bin; ++n) {
      const int i = bin == 1 ? column : column / 2 * 2 * bin + column % 2 + 2 * (n % bin);
      const int j = bin == 1 ? row : row / 2 * 2 * bin + row % 2 + 2 * (n / bin);
      sum += codeOf(x + i, y + j);
    }
    return blackLevel + (2 * sum + bin * bin) / (2 * bin * bin);
  }
};

/// Compares every sample outside the marks with `expected(sample of 12 bits, column, row)`.
template <typename Expected>
void expectFrame(const Layout& layout, const Bytes& frame, Expected expected) {
  ASSERT_EQ(static_cast<int>(frame.size()), layout.bytes());
  ASSERT_TRUE(layout.headBytes > 0 ? sequenceOf(frame).has_value() : hasTrailer(frame));
  const int sampleBytes = layout.wide ? 2 : 1;
  for (int at = layout.headBytes; at < layout.bytes() - 4; at += sampleBytes) {
    const int x = at / sampleBytes % layout.width;
    const int y = at / sampleBytes / layout.width;
    ASSERT_EQ(layout.sampleAt(frame, x, y), expected(layout.expectedSample(x, y), x, y))
        << "column " << x << ", row " << y;
  }
}

struct Origin {
  const char* name;
  const char* model;
  int x, y, columns, rows;
  bool wide;
  int sensorBin = 1, fpgaBin = 1;
};

class FrameOrigin : public ::testing::TestWithParam<Origin> {};

TEST_P(FrameOrigin, EverySampleComesFromItsPlaceOnTheSensor) {
  const Origin& c = GetParam();
  const auto shot = [&](auto bench, const auto& program) {
    bench.start(program);
    expectFrame(Layout(program), bench.fetchFrame(program.frameBytes()),
                [&](int sample, int, int) { return c.wide ? sample * 16 : sample / 16; });
  };
  if (std::string_view(c.model) == "T15C") {
    Program p{c.x, c.y, c.columns, c.rows, c.sensorBin, c.fpgaBin, c.wide};
    p.blackLevel = 21;
    shot(benchFor(p), p);
  } else {
    const OlderProgram p{c.x, c.y, c.columns, c.rows, 1100, 1400, 100, c.wide};
    shot(benchFor(c.model, p), p);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Regions, FrameOrigin,
    ::testing::Values(Origin{"Whole8", "T15C", 0, 0, 1304, 976, false},
                      Origin{"Whole16", "T15C", 0, 0, 1304, 976, true},
                      Origin{"Corner8", "T15C", 1264, 946, 40, 30, false},
                      Origin{"OddStart16", "T15C", 13, 7, 36, 20, true},
                      Origin{"SensorBin8", "T15C", 12, 8, 1280, 960, false, 2},
                      Origin{"SensorBin16", "T15C", 12, 8, 1280, 960, true, 2},
                      Origin{"FpgaBinBy3", "T15C", 4, 2, 1296, 972, true, 1, 3},
                      Origin{"FpgaBinBy4", "T15C", 0, 0, 1304, 976, false, 1, 4},
                      Origin{"Commands", "T02C", 0, 0, 728, 512, false},
                      Origin{"CommandsOddStart", "T02C", 13, 7, 36, 21, false},
                      Origin{"T01CCorner", "T01C", 600, 460, 40, 20, false},
                      Origin{"T03M", "T03M", 0, 0, 752, 480, false},
                      Origin{"T06C16", "T06C", 0, 0, 1280, 960, true},
                      Origin{"T06MOddStart16", "T06M_SC", 5, 3, 60, 40, true},
                      Origin{"T08M", "T08M", 0, 0, 1280, 1024, false}),
    [](const auto& each) { return std::string(each.param.name); });

TEST(Frame, FastConversionLosesTheTwoLowestBits) {
  Program p;
  p.wide = true;
  p.fast10Bit = true;
  Bench bench = benchFor(p);
  bench.program(p);
  bench.fpga(10, 16);  // two bytes out, 10 bits in
  bench.run();
  expectFrame(Layout(p), bench.fetchFrame(p.frameBytes()),
              [](int sample, int, int) { return sample / 4 * 64; });
}

TEST(Frame, ColourGainsMultiplyTheirColourOfTheMosaicAndSaturate) {
  constexpr int kRed = 200;
  constexpr int kGreenBesideRed = 128;
  constexpr int kGreenBesideBlue = 64;
  constexpr int kBlue = 255;
  struct Case {
    const char* model;
    int cell[4];  // row by row
  };
  for (const Case& c : {Case{"T15C", {kRed, kGreenBesideRed, kGreenBesideBlue, kBlue}},
                        Case{"T13C", {kGreenBesideRed, kRed, kBlue, kGreenBesideBlue}},
                        Case{"T14C", {kBlue, kGreenBesideBlue, kGreenBesideRed, kRed}},
                        Case{"T12C", {kGreenBesideBlue, kBlue, kRed, kGreenBesideRed}},
                        Case{"T10M", {128, 128, 128, 128}}}) {
    SCOPED_TRACE(c.model);
    Program p;
    p.wide = true;
    p.lineCycles = 600;
    Bench bench = benchFor(p, c.model);
    bench.program(p);
    bench.fpga(12, kRed);
    bench.fpga(13, kGreenBesideRed);
    bench.fpga(14, kGreenBesideBlue);
    bench.fpga(15, kBlue);
    bench.run();
    expectFrame(Layout(p), bench.fetchFrame(p.frameBytes()), [&](int sample, int x, int y) {
      return std::min(sample * c.cell[2 * (y % 2) + x % 2] / 128, 4095) * 16;
    });
  }
}

TEST(Frame, ContradictoryRegistersSendNothing) {
  const auto sends = [](auto spoil) {
    const Program p;
    Bench bench = benchFor(p);
    bench.start(p);
    EXPECT_FALSE(bench.fetchFrame(p.frameBytes()).empty());
    bench.stop();
    spoil(bench);
    bench.run();
    return bench.sends(p.frameBytes());
  };
  EXPECT_TRUE(sends([](Bench&) {}));
  EXPECT_FALSE(sends([](Bench& b) { b.sensor(0x3006, 0x22); })) << "the FPGA expects no binning";
  EXPECT_FALSE(sends([](Bench& b) { b.fpga(4, 63); })) << "63 of 64 columns";
  EXPECT_FALSE(sends([](Bench& b) { b.sensor(0x303D, 0x05); })) << "leaves the sensor";
  EXPECT_FALSE(sends([](Bench& b) { b.sensor(0x3009, 0x77); })) << "no such clock";
  EXPECT_FALSE(sends([](Bench& b) { b.fpga(19, 291 & 0xFF); })) << "lines too short for the sensor";
  EXPECT_FALSE(sends([](Bench& b) {
    b.fpga(16, 48);
    b.fpga(17, 0);
  })) << "no line beyond the rows";
}

TEST(Frame, SomeSensorsNeitherHurryNorBin) {
  struct Case {
    const char* model;
    bool hurries, bins;
  };
  for (const Case& c : {Case{"T15C", true, true}, Case{"T10M", true, false},
                        Case{"T04C", false, true}, Case{"T09C", true, false}}) {
    SCOPED_TRACE(c.model);
    const auto sends = [&](const Program& p) {
      Bench bench = benchFor(p, c.model);
      bench.program(p);
      bench.sensor(0x3009, 0x10);
      bench.run();
      return bench.sends(p.frameBytes(),
                         p.fast10Bit ? (c.hurries ? kSoon : kQuiet) : (c.bins ? kSoon : kQuiet));
    };
    EXPECT_EQ(sends({.fast10Bit = true, .lineCycles = 4000}), c.hurries);
    EXPECT_EQ(sends({.sensorBin = 2, .lineCycles = 4000}), c.bins);
  }
}

TEST(Frame, WhatIsHeldTakesEffectTogetherAtTheRelease) {
  Program p;
  p.wide = true;
  Bench bench = benchFor(p);
  bench.start(p);
  const auto levelOf = [&](int x, int y) {
    return Layout(p).sampleAt(bench.fetchFrame(p.frameBytes()), x, y) / 16;
  };
  const int before = codeOf(10, 10);
  ASSERT_EQ(levelOf(10, 10), before);

  bench.sensor(0x3001, 1);
  bench.sensor(0x300A, 77);
  bench.sensor(0x3038, 2);
  EXPECT_EQ(bench.in(0xB7, 0x300A).value().front(), 77) << "reads give what was written";
  EXPECT_EQ(levelOf(10, 10), before);
  bench.sensor(0x3001, 0);
  EXPECT_EQ(levelOf(10, 10), codeOf(10, 12) + 77);

  bench.fpga(1, 1);
  bench.fpga(12, 64);
  EXPECT_EQ(levelOf(10, 10), codeOf(10, 12) + 77);
  bench.fpga(1, 0);
  EXPECT_EQ(levelOf(10, 10), (codeOf(10, 12) + 77) / 2);
}

TEST(OlderFrame, FollowsExposureGainAndBlackLevel) {
  constexpr int kX = 20;
  constexpr int kY = 10;  // lit to 1750 steps
  for (const char* model : kOlderBoards) {
    SCOPED_TRACE(model);
    const OlderProgram p;
    OlderBench bench = benchFor(model, p);
    bench.start(p);
    const auto level = [&] { return Layout(p).sampleAt(bench.fetchFrame(p.frameBytes()), kX, kY); };
    const double lit = codeOf(kX, kY) / 16.0;
    EXPECT_NEAR(level(), lit, 1);
    bench.set(Setting::kExposureLines, 50);
    EXPECT_NEAR(level(), lit / 2, 1);
    bench.set(Setting::kBlackLevel, 320);
    EXPECT_NEAR(level(), lit / 2 + 20, 1);
    bench.set(Setting::kExposureLines, 200);
    EXPECT_NEAR(level(), std::min(2 * lit + 20, 255.0), 1);
    bench.set(Setting::kExposureLines, 60000);
    EXPECT_EQ(level(), 255) << "it saturates";
    bench.set(Setting::kFrameLines, 121);
    EXPECT_NEAR(level(), 1.2 * lit + 20, 1) << "no exposure is longer than its frame";
  }
}

TEST(OlderFrame, GainCodesMultiply) {
  struct Case {
    const char* model;
    int code;
    double factor;
  };
  for (const Case& c : {Case{"T06M", 1, 1.0233}, Case{"T06M", 50, 3.1623}, Case{"T06M", 100, 10},
                        Case{"T06M", 101, 10}, Case{"T02C", 0, 1}, Case{"T02C", 16, 1.5},
                        Case{"T02C", 31, 63 / 32.0}, Case{"T02C", 32, 2}, Case{"T02C", 48, 3},
                        Case{"T02C", 95, 63 / 8.0}, Case{"T02C", 96, 8}}) {
    SCOPED_TRACE(testing::Message() << c.model << " code " << c.code);
    const OlderProgram p{.exposureLines = 8};
    OlderBench bench = benchFor(c.model, {.exposureLines = 80});
    bench.start(p);
    bench.set(Setting::kGain, c.code);
    const double lit = codeOf(20, 10) / 160.0;
    EXPECT_NEAR(Layout(p).sampleAt(bench.fetchFrame(p.frameBytes()), 20, 10), lit * c.factor, 1);
  }
}

TEST(OlderFrame, SomeSensorsMultiplyRedAndBlue) {
  struct Case {
    const char* model;
    int x, y;  // where the area begins decides where its colours are
    double cell[4];
  };
  constexpr double kRed = 192 / 128.0;
  constexpr double kBlue = 64 / 128.0;
  for (const Case& c :
       {Case{"T06C", 0, 0, {1, kRed, kBlue, 1}}, Case{"T06C_S", 1, 0, {kRed, 1, 1, kBlue}},
        Case{"T06C_SC", 0, 1, {kBlue, 1, 1, kRed}}, Case{"T02C", 0, 0, {kBlue, 1, 1, kRed}},
        Case{"T01C", 0, 0, {1, 1, 1, 1}}, Case{"T03C", 0, 0, {1, 1, 1, 1}},
        Case{"T06M", 0, 0, {1, 1, 1, 1}}}) {
    SCOPED_TRACE(c.model);
    const OlderProgram p{.x = c.x, .y = c.y, .exposureLines = 100};
    OlderBench bench = benchFor(c.model, p);
    bench.start(p);
    bench.set(Setting::kRedGain, 192);
    bench.set(Setting::kBlueGain, 64);
    const Bytes frame = bench.fetchFrame(p.frameBytes());
    for (int n = 0; n < 64; ++n) {
      const int y = 10 + n / 8;
      const int x = 20 + n % 8;
      const double lit = codeOf(c.x + x, c.y + y) / 16.0 * c.cell[2 * (y % 2) + x % 2];
      ASSERT_NEAR(Layout(p).sampleAt(frame, x, y), std::min(lit, 255.0), 1) << x << ", " << y;
    }
  }
}

TEST(OlderFrame, FramesComeAtTheRateOfRegistersAndClock) {
  struct Case {
    const char* model;
    int clockRequest;  // 0 for none
    int percent;
    int kilohertz;
  };
  for (const Case& c : {Case{"T01C", 0, 0, 24000}, Case{"T02C", 0, 0, 24000},
                        Case{"T08M", 0xA4, 0, 48000}, Case{"T06C", 0xA4, 130, 48000},
                        Case{"T06M_S", 0xA3, 115, 27600}, Case{"T06C_SC", 0xA4, 130, 62400}}) {
    SCOPED_TRACE(c.model);
    sim::CameraOptions options = idealOptions();
    options.pace = sim::Pace::kReal;
    options.sceneKind = sim::SceneKind::kDark;
    OlderBench bench(c.model, options);
    if (c.clockRequest != 0) {
      bench.out(0xA4);
      ASSERT_EQ(bench.out(static_cast<std::uint8_t>(c.clockRequest)), TransferStatus::kOk);
    }
    if (c.percent != 0) bench.word(0x300E, c.percent);
    const OlderProgram p;
    bench.start(p);
    for (int n = 0; n < 2; ++n) {
      Fetch fetch = bench.newFetch(p.frameBytes());
      ASSERT_EQ(fetch.submit(), TransferStatus::kOk);
      bench.advance(p.frameTime(c.kilohertz) - 1us);
      EXPECT_FALSE(fetch.transfer->wait(kQuiet)) << "frame " << n << " came early";
      bench.advance(1us);
      ASSERT_TRUE(fetch.transfer->wait(5s));
      EXPECT_TRUE(hasTrailer(fetch.received()));
    }
  }
}

TEST(OlderFrame, ContradictoryRegistersSendNothing) {
  for (const char* model : kOlderBoards) {
    SCOPED_TRACE(model);
    const sim::SensorFormat format = sim::findModel(model)->sensor;
    const OlderProgram p;
    OlderBench bench = benchFor(model, p);
    bench.start(p);
    struct Case {
      const char* name;
      Setting setting;
      int wrong, right;
    };
    for (const Case& c :
         {Case{"leaves the sensor", Setting::kFirstRow, format.height - p.rows + 1, 0},
          Case{"leaves it sideways", Setting::kFirstColumn, format.width - p.columns + 1, 0},
          Case{"no rows", Setting::kRows, 0, p.rows},
          Case{"no line beyond the rows", Setting::kFrameLines, p.rows, p.rows + 1},
          Case{"lines too short", Setting::kLineCycles, format.width + 93, format.width + 94}}) {
      bench.set(c.setting, c.wrong);
      EXPECT_TRUE(!bench.sends(p.frameBytes())) << c.name;
      bench.set(c.setting, c.right);
      EXPECT_TRUE(hasTrailer(bench.fetchFrame(p.frameBytes()))) << c.name;
    }
    bench.fpga(20, 0);
    bench.fpga(19, 0);
    if (std::string_view(model) == "T02C") continue;  // whose processor sends whole lines
    EXPECT_TRUE(!bench.sends(p.frameBytes())) << "no line has no length";
    const int line = format.width + 94;
    bench.fpga(19, line & 0xFF);
    EXPECT_TRUE(!bench.sends(p.frameBytes())) << "the logic gathers lines of another length";
    bench.fpga(20, line >> 8);
    EXPECT_TRUE(hasTrailer(bench.fetchFrame(p.frameBytes())));
  }
  OlderBench overClocked = benchFor("T06M_S", {});
  overClocked.start({});
  for (const int percent : {99, 131}) {
    overClocked.word(0x300E, percent);
    EXPECT_TRUE(!overClocked.sends(OlderProgram().frameBytes())) << percent;
  }
}

}  // namespace
}  // namespace orvik::test
