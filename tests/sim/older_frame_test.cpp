// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>

#include "sim/older_bench.h"
#include "sim/position_scene.h"

namespace orvik::test {
namespace {

using namespace std::chrono_literals;

constexpr const char* kBoards[] = {"T06C_S", "T02C"};  // one of each kind

double electronsPerStep(const char* model) { return sim::findModel(model)->pixel.fullScale / 4095; }

double secondsOf(const OlderProgram& p) { return p.exposureLines * p.lineCycles / 24e6; }

/// A camera that sees each pixel's code with this program at no gain.
OlderBench benchFor(const char* model, const OlderProgram& p) {
  sim::CameraOptions options = idealOptions();
  options.scene = std::make_shared<PositionScene>(electronsPerStep(model) / secondsOf(p));
  OlderBench bench(model, options);
  bench.set(Setting::kGain, 0);
  return bench;
}

/// 16-bit samples have their high byte first.
int sampleAt(const OlderProgram& p, const Bytes& frame, int x, int y) {
  const auto at = static_cast<std::size_t>(y * p.columns + x);
  return p.wide ? frame.at(2 * at) * 256 + frame.at(2 * at + 1) : frame.at(at);
}

bool quiet(OlderBench& bench, const OlderProgram& p) { return !bench.sends(p.frameBytes()); }

TEST(OlderFrame, EverySampleComesFromItsPlaceOnTheSensor) {
  struct Case {
    const char* model;
    int x, y, columns, rows;
    bool wide;
  };
  for (const Case& c : {Case{"T02C", 0, 0, 728, 512, false}, Case{"T02C", 13, 7, 36, 21, false},
                        Case{"T01C", 600, 460, 40, 20, false}, Case{"T03M", 0, 0, 752, 480, false},
                        Case{"T06C", 0, 0, 1280, 960, true}, Case{"T06M_SC", 5, 3, 60, 40, true},
                        Case{"T08M", 0, 0, 1280, 1024, false}}) {
    SCOPED_TRACE(testing::Message() << c.model << ' ' << c.columns << " x " << c.rows);
    const OlderProgram p{.x = c.x,
                         .y = c.y,
                         .columns = c.columns,
                         .rows = c.rows,
                         .frameLines = 1100,
                         .wide = c.wide};
    OlderBench bench = benchFor(c.model, p);
    bench.start(p);
    const Bytes frame = bench.fetchFrame(p.frameBytes());
    ASSERT_EQ(frame.size(), p.frameBytes());
    ASSERT_TRUE(hasTrailer(frame));
    const int marked = c.wide ? 2 : 4;
    for (int n = 0; n < c.columns * c.rows - marked; ++n) {
      const int x = n % c.columns;
      const int y = n / c.columns;
      const int code = codeOf(c.x + x, c.y + y);
      ASSERT_EQ(sampleAt(p, frame, x, y), c.wide ? code * 16 : code / 16) << x << ", " << y;
    }
  }
}

TEST(OlderFrame, FollowsExposureGainAndBlackLevel) {
  constexpr int kX = 20;
  constexpr int kY = 10;  // lit to 1750 steps
  for (const char* model : kBoards) {
    SCOPED_TRACE(model);
    const OlderProgram p;
    OlderBench bench = benchFor(model, p);
    bench.start(p);
    const auto level = [&] { return sampleAt(p, bench.fetchFrame(p.frameBytes()), kX, kY); };
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
    EXPECT_NEAR(sampleAt(p, bench.fetchFrame(p.frameBytes()), 20, 10), lit * c.factor, 1);
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
      ASSERT_NEAR(sampleAt(p, frame, x, y), std::min(lit, 255.0), 1) << x << ", " << y;
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
  for (const char* model : kBoards) {
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
      EXPECT_TRUE(quiet(bench, p)) << c.name;
      bench.set(c.setting, c.right);
      EXPECT_TRUE(hasTrailer(bench.fetchFrame(p.frameBytes()))) << c.name;
    }
    bench.fpga(20, 0);
    bench.fpga(19, 0);
    if (std::string_view(model) == "T02C") continue;  // whose processor sends whole lines
    EXPECT_TRUE(quiet(bench, p)) << "no line has no length";
    const int line = format.width + 94;
    bench.fpga(19, line & 0xFF);
    EXPECT_TRUE(quiet(bench, p)) << "the logic gathers lines of another length";
    bench.fpga(20, line >> 8);
    EXPECT_TRUE(hasTrailer(bench.fetchFrame(p.frameBytes())));
  }
  OlderBench overClocked = benchFor("T06M_S", {});
  overClocked.start({});
  for (const int percent : {99, 131}) {
    overClocked.word(0x300E, percent);
    EXPECT_TRUE(quiet(overClocked, {})) << percent;
  }
}

}  // namespace
}  // namespace orvik::test
