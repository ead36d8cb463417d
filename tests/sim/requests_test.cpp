// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sim/older_bench.h"

namespace orvik::test {
namespace {

using namespace std::chrono_literals;
using ::testing::Each;
using ::testing::ElementsAre;

TEST(Requests, AnswerWhatTheBridgeKnows) {
  Bench bench;
  EXPECT_THAT(bench.in(0xAD, 0, 0, 2).value(), ElementsAre('V', 0x12));
  EXPECT_THAT(bench.in(0xB4).value(), ElementsAre(1));
  EXPECT_THAT(bench.in(0xBC, 29).value(), ElementsAre(1));
  EXPECT_THAT(bench.in(0xBC, 30).value(), ElementsAre(0x20));
  EXPECT_THAT(bench.in(0xBC, 31).value(), ElementsAre(0x26));

  sim::CameraOptions usb2;
  usb2.usb3Port = false;
  EXPECT_THAT(Bench(usb2).in(0xB4).value(), ElementsAre(0));
}

TEST(Requests, UnknownOrMisdirectedOnesStallAndLaterOnesWork) {
  Bench bench;
  EXPECT_EQ(bench.out(0x01), TransferStatus::kStalled);
  EXPECT_EQ(bench.out(0xA6, 0x3012, 5), TransferStatus::kStalled);
  EXPECT_EQ(bench.out(0xAD), TransferStatus::kStalled);
  EXPECT_FALSE(bench.in(0xA9).has_value());
  EXPECT_EQ(bench.out(0xA9, 0, 0, {1, 2, 3}), TransferStatus::kStalled);
  EXPECT_EQ(bench.out(0xB0, 4), TransferStatus::kStalled);
  EXPECT_EQ(bench.out(0xB2, 100), TransferStatus::kStalled) << "it has no cooler";
  EXPECT_FALSE(bench.in(0xC7, 0, 0, 2).has_value());
  EXPECT_EQ(bench.out(0xA9), TransferStatus::kOk);
}

TEST(Requests, SensorNeedsItsClockTheFpgaDoesNot) {
  Bench bench;
  bench.sensor(0x3014, 0x55);
  ASSERT_EQ(bench.out(0xAE), TransferStatus::kOk);
  EXPECT_EQ(bench.out(0xB6, 0x3014, 0x66), TransferStatus::kStalled);
  EXPECT_FALSE(bench.in(0xB7, 0x3014).has_value());
  EXPECT_EQ(bench.out(0xBD, 12, 7), TransferStatus::kOk);
  ASSERT_EQ(bench.out(0xAF), TransferStatus::kOk);
  EXPECT_THAT(bench.in(0xB7, 0x3014).value(), ElementsAre(0x55));
  EXPECT_THAT(bench.in(0xBC, 12).value(), ElementsAre(7));
}

TEST(Requests, SensorResetBringsBackTheRegistersOfPowerUp) {
  Bench bench;
  bench.sensor(0x3014, 0x55);
  bench.sensor(0x3000, 0);
  bench.sensor(0x3003, 1);
  EXPECT_THAT(bench.in(0xB7, 0x3014).value(), ElementsAre(0));
  EXPECT_THAT(bench.in(0xB7, 0x3000).value(), ElementsAre(1));
}

TEST(Requests, TemperatureIsATwosComplementWordOfSixteenths) {
  sim::CameraOptions options;
  options.ambient = -3.5;
  const Bytes cold = Bench(options).in(0xB3, 0, 0, 2).value();
  EXPECT_THAT(cold, ElementsAre(0x80, 0xFC));  // -56 is 0xFC8

  Bench bench;
  const auto celsius = [&] {
    const Bytes word = bench.in(0xB3, 0, 0, 2).value();
    return (word[1] * 16 + (word[0] >> 4)) / 16.0;
  };
  EXPECT_DOUBLE_EQ(celsius(), 20);
  bench.advance(3600s);
  const double idle = celsius();
  EXPECT_GT(idle, 20.5);
  bench.start({});
  EXPECT_DOUBLE_EQ(celsius(), idle) << "starting to work must not make it jump";
  bench.advance(3600s);
  EXPECT_GT(celsius(), idle + 1);
  EXPECT_LT(celsius(), 30);
}

TEST(Flash, ObeysThePhysicsOfFlash) {
  Bench bench;
  ASSERT_EQ(bench.out(0xBE, 0), TransferStatus::kOk);
  EXPECT_THAT(bench.in(0xC3, 0, 0x700, 256).value(), Each(0xFF));

  EXPECT_EQ(bench.out(0xC2, 0, 0x700, Bytes(256, 0xF0)), TransferStatus::kOk);
  EXPECT_EQ(bench.out(0xC2, 0, 0x700, Bytes(2, 0x3C)), TransferStatus::kOk);
  const Bytes page = bench.in(0xC3, 0, 0x700, 256).value();
  EXPECT_EQ(page[1], 0x30) << "a write can only clear bits";
  EXPECT_EQ(page[2], 0xF0);
  EXPECT_THAT(bench.in(0xC3, 0, 0x701, 256).value(), Each(0xFF));

  // Erasing affects a whole sector and takes a while, in which pages cannot be read.
  EXPECT_EQ(bench.out(0xC2, 0, 0x6FF, Bytes(256, 0)), TransferStatus::kOk);
  ASSERT_EQ(bench.out(0xC4, 1, 7), TransferStatus::kOk);
  EXPECT_FALSE(bench.in(0xC3, 0, 0x700, 256).has_value());
  int polls = 0;
  while (bench.in(0xC4, 0, 7).value().front() != 0) ++polls;
  EXPECT_GT(polls, 0);
  EXPECT_THAT(bench.in(0xC3, 0, 0x700, 256).value(), Each(0xFF));
  EXPECT_THAT(bench.in(0xC3, 0, 0x6FF, 256).value(), Each(0)) << "the sector before it stays";
}

TEST(Flash, RefusesWhatItCannotDo) {
  Bench bench;
  EXPECT_FALSE(bench.in(0xC3, 0, 0x700, 256).has_value()) << "the wide bus is on after power-up";
  bench.out(0xBE, 0);
  EXPECT_TRUE(bench.in(0xC3, 0, 0xFFF, 256).has_value());
  EXPECT_FALSE(bench.in(0xC3, 0, 0xFFF, 257).has_value()) << "past the end";
  EXPECT_FALSE(bench.in(0xC3, 0, 0x1000, 1).has_value());
  EXPECT_EQ(bench.out(0xC2, 0, 0xFFF, Bytes(257)), TransferStatus::kStalled);
  EXPECT_EQ(bench.out(0xC4, 1, 16), TransferStatus::kStalled);
  bench.out(0xBE, 1);
  EXPECT_EQ(bench.out(0xC2, 0, 0x700, Bytes(256)), TransferStatus::kStalled);
}

bool takes(OlderBench& bench, int request, int value = 0, int index = 0) {
  return bench.out(static_cast<std::uint8_t>(request), value, index) == TransferStatus::kOk;
}

TEST(OlderRequests, AnswerWhatTheirBridgeKnows) {
  for (const char* model : {"T01C", "T02C_A", "T06M"}) {
    SCOPED_TRACE(model);
    OlderBench bench(model);
    EXPECT_THAT(bench.in(0xAD, 0, 0, 2).value(), ElementsAre('V', 0x12));
    EXPECT_THAT(bench.in(0xB4).value(), ElementsAre(0)) << "whatever the port";
    EXPECT_THAT(bench.in(0xBC, 30).value(), ElementsAre(0x20));
    EXPECT_TRUE(takes(bench, 0xB0, 1));
    EXPECT_TRUE(takes(bench, 0xBE, 0));
    EXPECT_TRUE(bench.in(0xC3, 0, 0x700, 256).has_value());
    EXPECT_FALSE(bench.in(0xC7, 0, 0, 2).has_value());
    EXPECT_FALSE(takes(bench, 0xB2, 100));
  }
  EXPECT_TRUE(OlderBench("T06C").in(0xB3, 0, 0, 2).has_value());
  EXPECT_FALSE(OlderBench("T08M").in(0xB3, 0, 0, 2).has_value()) << "it has no thermometer";
}

TEST(OlderRequests, EachSensorHasItsOwnInterface) {
  OlderBench words("T03C");
  EXPECT_TRUE(takes(words, 0xA6, 0x3012, 0x1234));
  EXPECT_THAT(words.in(0xA7, 0x3012, 0, 2).value(), ElementsAre(0x12, 0x34)) << "high byte first";
  EXPECT_FALSE(takes(words, 0xB6, 0x3012, 1));
  EXPECT_FALSE(words.in(0xB7, 0x3012).has_value());
  words.word(0x302A, 200);
  words.word(0x300E, 120);
  words.word(0xFFFF, 1);
  EXPECT_EQ(words.wordAt(0x302A), 0) << "it has no colour gains";
  EXPECT_EQ(words.wordAt(0x300E), 0) << "nor an over-clock";
  EXPECT_EQ(words.wordAt(0xFFFF), 0);
  EXPECT_TRUE(takes(words, 0xAE));
  EXPECT_FALSE(takes(words, 0xA6, 0x3012, 1)) << "it needs its clock";
  EXPECT_FALSE(words.in(0xA7, 0x3012, 0, 2).has_value());
  EXPECT_TRUE(takes(words, 0xAF));
  EXPECT_EQ(words.wordAt(0x3012), 0x1234);

  OlderBench commands("T02C");
  EXPECT_TRUE(takes(commands, 0xB6, 0x0012, 1));
  EXPECT_FALSE(takes(commands, 0xA6, 0x3012, 1));
  EXPECT_FALSE(commands.in(0xA7, 0x3012, 0, 2).has_value());

  for (OlderBench* bench : {&words, &commands}) {
    for (const int request : {0xA3, 0xA4, 0xAB, 0xAC}) {
      EXPECT_FALSE(takes(*bench, request)) << "8 bits at one clock is all it has";
    }
    EXPECT_TRUE(takes(*bench, 0xBD, 12, 7));
    EXPECT_THAT(bench->in(0xBC, 12).value(), ElementsAre(0)) << "no such register";
    bench->fpga(20, 5);
    EXPECT_THAT(bench->in(0xBC, 20).value(), ElementsAre(5));
  }
}

TEST(CommandSensor, CarriesOutOneCommandAtATime) {
  OlderBench bench("T02C");
  const auto state = [&] { return bench.in(0xB7, 0x0011).value().front(); };
  EXPECT_EQ(bench.in(0xB7, 0x0010).value().front(), 0);
  EXPECT_EQ(state(), 1);
  EXPECT_GT(bench.command(3), 1) << "it takes a while";
  EXPECT_EQ(state(), 2);

  bench.sensor(0x0010, 2);
  bench.sensor(0x0010, 3);
  EXPECT_EQ(state(), 2) << "not carried out yet";
  while (bench.in(0xB7, 0x0010).value().front() != 0) {
  }
  EXPECT_EQ(state(), 1) << "the second command was lost";

  EXPECT_EQ(bench.command(9), 50) << "an unknown one is never done";
  bench.command(3);
  EXPECT_EQ(state(), 2);
}

TEST(CommandSensor, VariablesReadBackAndTakeEffectAtTheEndOfAChange) {
  OlderBench bench("T02C", idealOptions());
  const OlderProgram p;
  bench.start(p);
  EXPECT_EQ(bench.variable(0x0104), p.rows);
  bench.writeVariable(0x0104, 20);
  EXPECT_EQ(bench.variable(0x0104), 20);
  EXPECT_EQ(bench.fetchFrame(p.frameBytes()).size(), p.frameBytes()) << "not taken over";

  bench.command(1);
  EXPECT_EQ(bench.in(0xB7, 0x0011).value().front(), 3);
  EXPECT_EQ(bench.fetchFrame(p.frameBytes()).size(), p.frameBytes()) << "streams on meanwhile";
  int polls = 1;
  while (bench.in(0xB7, 0x0011).value().front() == 3) ++polls;
  EXPECT_GT(polls, 1);
  EXPECT_LT(polls, 100);
  EXPECT_EQ(bench.in(0xB7, 0x0011).value().front(), 2);
  OlderProgram after = p;
  after.rows = 20;
  EXPECT_TRUE(hasTrailer(bench.fetchFrame(after.frameBytes())));

  bench.writeVariable(0x0101, 5);
  EXPECT_EQ(bench.variable(0x0101), 0) << "no such variable";
  EXPECT_EQ(bench.variable(0x0116), 0);
}

}  // namespace
}  // namespace orvik::test
