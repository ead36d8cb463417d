// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sim/bench.h"
#include "sim/position_scene.h"

namespace orvik::test {
namespace {

constexpr std::chrono::seconds kSoon{60};
constexpr int kWidth = 1304;

Bench benchFor(const Program& program, const char* model = "T15C") {
  sim::CameraOptions options;
  options.pace = sim::Pace::kFree;
  options.noise = false;
  const double electronsPerStep = sim::findModel(model)->pixel.fullScale / 4095;  // at gain 0
  options.scene = std::make_shared<PositionScene>(electronsPerStep / program.exposureSeconds());
  return Bench(options, std::make_shared<ManualClock>(), model);
}

/// The 12-bit sample that the frame must hold in column x, row y: the rounded mean of the
/// bin x bin nearest sensor pixels of its colour.
int expectedSample(const Program& p, int x, int y) {
  const int bin = p.bin();
  int sum = 0;
  for (int j = 0; j < bin; ++j) {
    for (int i = 0; i < bin; ++i) {
      const int column = bin == 1 ? x : x / 2 * 2 * bin + x % 2 + 2 * i;
      const int row = bin == 1 ? y : y / 2 * 2 * bin + y % 2 + 2 * j;
      sum += codeOf(p.x + column, p.y + row);
    }
  }
  return p.blackLevel + (2 * sum + bin * bin) / (2 * bin * bin);
}

int sampleAt(const Program& p, const Bytes& frame, int x, int y) {
  const auto at = static_cast<std::size_t>(y * (p.columns / p.bin()) + x);
  return p.wide ? wordOf(frame, at) : frame.at(at);
}

/// Whether a mark stands in the place of this sample.
bool marked(const Program& p, int x, int y) {
  const int bytes = p.wide ? 2 : 1;
  const int offset = (y * (p.columns / p.bin()) + x) * bytes;
  return offset < 4 || offset >= static_cast<int>(p.frameBytes()) - 4;
}

/// Holds every sample against `expected(sample of 12 bits, column, row)`.
template <typename Expected>
void expectFrame(const Program& p, const Bytes& frame, Expected expected) {
  ASSERT_EQ(frame.size(), p.frameBytes());
  ASSERT_TRUE(sequenceOf(frame).has_value());
  for (int y = 0; y < p.rows / p.bin(); ++y) {
    for (int x = 0; x < p.columns / p.bin(); ++x) {
      if (marked(p, x, y)) continue;
      ASSERT_EQ(sampleAt(p, frame, x, y), expected(expectedSample(p, x, y), x, y))
          << "column " << x << ", row " << y;
    }
  }
}

TEST(Frame, EverySampleComesFromItsPlaceOnTheSensor) {
  struct Case {
    const char* name;
    int x, y, columns, rows, sensorBin, fpgaBin;
  };
  for (const Case& c :
       {Case{"whole sensor", 0, 0, kWidth, 976, 1, 1},
        Case{"corner region", 1264, 946, 40, 30, 1, 1}, Case{"odd start", 13, 7, 36, 20, 1, 1},
        Case{"binned on the sensor", 12, 8, 1280, 960, 2, 1},
        Case{"binned by 3 in the FPGA", 4, 2, 1296, 972, 1, 3},
        Case{"binned by 4 in the FPGA", 0, 0, kWidth, 976, 1, 4}}) {
    for (const bool wide : {false, true}) {
      SCOPED_TRACE(std::string(c.name) + (wide ? ", 16 bits" : ", 8 bits"));
      Program p;
      p.x = c.x;
      p.y = c.y;
      p.columns = c.columns;
      p.rows = c.rows;
      p.sensorBin = c.sensorBin;
      p.fpgaBin = c.fpgaBin;
      p.wide = wide;
      p.blackLevel = 21;
      Bench bench = benchFor(p);
      bench.start(p);
      expectFrame(p, bench.fetchFrame(p.frameBytes()),
                  [wide](int sample, int, int) { return wide ? sample * 16 : sample / 16; });
    }
  }
}

TEST(Frame, FastConversionLosesTheTwoLowestBits) {
  Program p;
  p.wide = true;
  p.fast10Bit = true;
  Bench bench = benchFor(p);
  bench.program(p);
  bench.fpga(10, 16);  // two bytes out, 10 bits in
  bench.run();
  expectFrame(p, bench.fetchFrame(p.frameBytes()),
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
    expectFrame(p, bench.fetchFrame(p.frameBytes()), [&](int sample, int x, int y) {
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
    return sampleAt(p, bench.fetchFrame(p.frameBytes()), x, y) / 16;
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

}  // namespace
}  // namespace orvik::test
