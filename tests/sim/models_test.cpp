// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <string>
#include <string_view>

#include "seam/identity.h"
#include "sim/older_bench.h"

namespace orvik::test {
namespace {

using namespace std::chrono_literals;

constexpr auto kQuiet = 20ms;

TEST(Models, EveryProductHasOneCode) {
  std::multiset<int> products;
  std::set<std::string_view> codes;
  for (const sim::Model& model : sim::models()) {
    products.insert(model.productId);
    EXPECT_TRUE(codes.insert(model.code).second) << model.code;
    EXPECT_EQ(sim::findModel(model.code), &model);
    EXPECT_LT(std::string_view(model.code).size(), 16U) << "a record of the C interface holds it";
    // The pages of the sheet that say the same thing twice must agree.
    const std::string_view code = model.code;
    EXPECT_EQ(code[3] == 'M', model.sensor.mosaic == sim::Mosaic::kMono) << code;
    EXPECT_EQ(std::string_view(model.displayName).ends_with(" COOL"), model.cooled) << code;
    EXPECT_NE(std::string_view(model.displayName).find(code.substr(0, 4)), std::string_view::npos);
  }
  std::multiset<int> known;
  for (const auto& product : identity::kProducts) known.insert(product.productId);
  EXPECT_EQ(products, known);
}

/// The whole sensor, as one frame, from registers written one by one.
Bytes fullFrame(const sim::Model& model) {
  sim::CameraOptions options;
  options.pace = sim::Pace::kFree;
  options.sceneKind = sim::SceneKind::kGrey;
  const int width = model.sensor.width;
  const int height = model.sensor.height;
  if (model.board == sim::BoardKind::kMarkedFrames) {
    Bench bench(options, std::make_shared<ManualClock>(), model.code);
    const Program p{.columns = width,
                    .rows = height,
                    .wide = true,
                    .frameLines = height + 18,
                    .lineCycles = 292 * width / 1304};
    bench.start(p);
    Bytes frame = bench.fetchFrame(p.frameBytes());
    EXPECT_EQ(frame.size(), static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 2);
    EXPECT_TRUE(sequenceOf(frame).has_value());
    return frame;
  }
  OlderBench bench(model.code, options);
  const OlderProgram p{
      .columns = width, .rows = height, .frameLines = height + 18, .lineCycles = width + 94};
  bench.start(p);
  Bytes frame = bench.fetchFrame(p.frameBytes());
  EXPECT_EQ(frame.size(), static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  EXPECT_TRUE(hasTrailer(frame));
  return frame;
}

TEST(Models, EachStreamsItsWholeSensorWithLightOnIt) {
  for (const sim::Model& model : sim::models()) {
    SCOPED_TRACE(model.code);
    const Bytes frame = fullFrame(model);
    ASSERT_GT(frame.size(), 16U);
    const Bytes inside(std::prev(frame.end(), 1000), std::prev(frame.end(), 8));
    EXPECT_GT(std::ranges::max(inside), std::ranges::min(inside)) << "noise at least";
  }
}

/// Whether a frame comes with these registers.
/// @param patience how long it may take; a busy machine needs some, and what never comes costs it
bool sends(const char* model, const Program& p, int clock, std::chrono::milliseconds patience) {
  sim::CameraOptions options;
  options.pace = sim::Pace::kFree;
  options.sceneKind = sim::SceneKind::kDark;
  Bench bench(options, std::make_shared<ManualClock>(), model);
  bench.program(p);
  bench.sensor(0x3009, clock);
  bench.out(0xA9);
  bench.sensor(0x3000, 0);
  bench.fpga(0, 0x21);
  Fetch fetch = bench.newFetch(p.frameBytes());
  EXPECT_EQ(fetch.submit(), TransferStatus::kOk);
  return fetch.transfer->wait(patience);
}

TEST(Models, LinesTakeAsLongAsTheirPixelsAndSomeSensorsCannotHurry) {
  struct Case {
    const char* model;
    int line, fastLine, binningLine;  // clock cycles at least; 0 for what the sensor cannot do
  };
  for (const Case& c :
       {Case{"T15C", 292, 249, 145}, Case{"T12C", 435, 371, 216}, Case{"T11C_C", 693, 591, 344},
        Case{"T10M", 433, 369, 0}, Case{"T09C", 435, 371, 0}, Case{"T04C", 1107, 0, 549},
        Case{"T05C", 1652, 0, 820}, Case{"T07C", 1351, 0, 671}}) {
    SCOPED_TRACE(c.model);
    Program p;
    const auto least = [&](int cycles, int clock) {
      p.lineCycles = cycles;
      if (!sends(c.model, p, clock, 60s)) return false;
      p.lineCycles = cycles - 1;
      return !sends(c.model, p, clock, kQuiet);
    };
    EXPECT_TRUE(least(c.line, 0x11));
    EXPECT_TRUE(least(c.line, 0x12));
    p.fast10Bit = true;
    p.lineCycles = 4000;
    EXPECT_TRUE(c.fastLine == 0 ? !sends(c.model, p, 0x10, kQuiet) : least(c.fastLine, 0x10));
    p.fast10Bit = false;
    p.sensorBin = 2;
    p.lineCycles = 4000;
    EXPECT_TRUE(c.binningLine == 0 ? !sends(c.model, p, 0x10, kQuiet) : least(c.binningLine, 0x10));
  }
}

TEST(Models, AMonoSensorHasNoColourGains) {
  const auto frameWithGain = [](int gain) {
    sim::CameraOptions options = idealOptions();
    options.sceneKind = sim::SceneKind::kGrey;
    Bench bench(options, std::make_shared<ManualClock>(), "T10M");
    const Program p{.wide = true, .lineCycles = 500};
    bench.program(p);
    for (const int number : {12, 13, 14, 15}) bench.fpga(number, gain);
    bench.out(0xA9);
    bench.sensor(0x3000, 0);
    bench.fpga(0, 0x21);
    return bench.fetchFrame(p.frameBytes());
  };
  const Bytes plain = frameWithGain(128);
  ASSERT_FALSE(plain.empty());
  EXPECT_EQ(frameWithGain(40), plain);
}

}  // namespace
}  // namespace orvik::test
