// SPDX-License-Identifier: MIT
// Tests which requests the cameras with 16-bit sensor registers receive. The expected values were
// calculated by hand.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "algorithm/white_balance.h"
#include "models/models.h"
#include "seam/identity.h"
#include "support/scripted_bench.h"
#include "support/take_image.h"

namespace orvik::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::Not;

/// Register writes enclosed in one hold.
Lines held(const Lines& lines) { return Lines{"W3001=0001"} + lines + Lines{"W3001=0000"}; }

template <class Camera>
struct Bench {
  explicit Bench(std::uint16_t productId,
                 std::shared_ptr<seam::Clock> clock = std::make_shared<SteppedClock>())
      : bench(std::move(clock)), scripted(productId) {
    bench.plug(scripted);
  }

  void open() {
    ASSERT_TRUE(camera.open(1));
    ASSERT_TRUE(camera.initialise());
    scripted.conversation.take();
  }
  Lines sent() { return scripted.conversation.take(); }

  ScriptedBench bench;
  ScriptedCamera scripted;
  Camera camera;
};

/// Switches off what a previous program may have left on: guide lines, stream and the flash's bus.
const Lines kSafe = {"B1", "B1", "B1", "B1", "AA", "BE"};

const Lines kQuestions = {"RB4", "BE", "RC3", "BE", "RAD", "RBC", "RBC", "RBC"};

/// 33000 us at 1374 cycles of 24000 kHz, 57.25 us a line: 576 lines, in a frame of 960 + 18.
const Lines kExposure33ms = held({"W300A=03D2", "W3012=0240"});

TEST(RegisterConversationTest, T06CInitialisation) {
  Bench<T06C> bench(identity::PID_T06C);
  ASSERT_TRUE(bench.camera.open(1));
  EXPECT_THAT(bench.sent(), IsEmpty());
  ASSERT_TRUE(bench.camera.initialise());
  const Lines start = {"AF", "W301A=10D8"};
  // Red 52 and blue 95 of 100 as 8 bits, black level 10, 24 MHz, gain 50.
  const Lines controls = held({"W302A=0085", "W302C=00F3"}) + held({"W301E=000A"}) + Lines{"A3"} +
                         held({"W3028=0032"});
  EXPECT_THAT(bench.sent(),
              ElementsAreArray(kSafe + kQuestions + start + controls + kExposure33ms));
}

TEST(RegisterConversationTest, T06CRegionDepthAndClock) {
  Bench<T06C> bench(identity::PID_T06C);
  bench.open();
  ASSERT_TRUE(bench.camera.setResolution(1280, 960, 1, IMAGE_8BIT));
  // 80 percent of USB 2 carries 28.17 frames a second, 871 cycles a line: the minimum applies.
  const Lines position = held({"W3002=0000", "W3004=0000"});
  const Lines area = held({"W3006=03C0", "W3008=0500"});
  const Lines line = held({"W300C=055E"}) + Lines{"F19=5E", "F20=05"};
  EXPECT_THAT(bench.sent(), ElementsAreArray(position + Lines{"AB"} + area + Lines{"A3"} + line +
                                             kExposure33ms + kExposure33ms));

  // Twice the bytes: 1742 cycles a line, 72.58 us; 454 lines of exposure.
  ASSERT_TRUE(bench.camera.setResolution(1280, 960, 1, IMAGE_RAW16));
  const Lines wide = held({"W300C=06CE"}) + Lines{"F19=CE", "F20=06"};
  const Lines exposure = held({"W300A=03D2", "W3012=01C6"});
  EXPECT_THAT(bench.sent(), ElementsAreArray(position + Lines{"AC"} + area + Lines{"A3"} + wide +
                                             exposure + exposure));

  ASSERT_TRUE(bench.camera.setHighSpeedMode(true));
  EXPECT_THAT(bench.sent(), Not(Contains("A4"))) << "16 bits are never fast";
  ASSERT_TRUE(bench.camera.setResolution(1280, 960, 1, IMAGE_8BIT));
  // 48 MHz: 1742 cycles at 36.29 us; 909 lines.
  const Lines fast = held({"W300A=03D2", "W3012=038D"});
  EXPECT_THAT(bench.sent(),
              ElementsAreArray(position + Lines{"AB"} + area + Lines{"A4"} + wide + fast + fast));
}

TEST(RegisterConversationTest, BinningReadsTheWholeAreaInTheMiddle) {
  Bench<T08M> bench(identity::PID_T08M);
  bench.open();
  ASSERT_TRUE(bench.camera.setResolution(320, 240, 2, IMAGE_RAW16));
  const Lines sent = bench.sent();
  // 640 x 480 of 1280 x 1024
  for (const char* line : {"W3002=0110", "W3004=0140", "W3006=01E0", "W3008=0280"}) {
    EXPECT_THAT(sent, Contains(line));
  }
  EXPECT_FALSE(bench.camera.setHardwareBin(true));
  EXPECT_FALSE(bench.camera.setBrightness(5)) << "T08M has no black level";
  EXPECT_FALSE(bench.camera.setBandwidth(50, false));
  EXPECT_FALSE(bench.camera.setOverclock(5));
  bench.camera.setWhiteBalance(60, 40, false);
  EXPECT_EQ(bench.camera.readTemperature(), 0.0F);
  EXPECT_THAT(bench.sent(), IsEmpty());
  EXPECT_EQ(bench.camera.state().whiteBalanceRed, 60);
}

TEST(RegisterConversationTest, WhoTimesAnExposure) {
  Bench<T06C> late(identity::PID_T06C);
  late.open();
  // At 57.25 us a line, 65535 lines last 3.75 s; the sensor cannot time longer exposures.
  late.camera.setExposure(3'700'000, false);
  EXPECT_THAT(late.sent(), ElementsAreArray(held({"W300A=FC75", "W3012=FC74"})));
  EXPECT_FALSE(late.camera.state().longExposure);
  late.camera.setExposure(3'800'000, false);
  EXPECT_THAT(late.sent(), ElementsAreArray(held({"W300A=03D2", "W3012=0000"})));
  EXPECT_TRUE(late.camera.state().longExposure);

  Bench<T06M> early(identity::PID_T06M);
  early.open();
  early.camera.setExposure(999'999, false);
  EXPECT_FALSE(early.camera.state().longExposure);
  early.camera.setExposure(1'000'000, false);
  EXPECT_TRUE(early.camera.state().longExposure);
  early.camera.setExposure(1, true);
  EXPECT_EQ(early.camera.state().exposureUs, 64U);
  EXPECT_EQ(early.camera.state().exposureLines, 1U);
  EXPECT_FALSE(early.camera.state().longExposure);
}

TEST(RegisterConversationTest, OverClocking) {
  Bench<T06M_S> bench(identity::PID_T06M_SC);
  bench.open();
  ASSERT_TRUE(bench.camera.setResolution(1280, 960, 1, IMAGE_8BIT));
  bench.sent();
  ASSERT_TRUE(bench.camera.setOverclock(20));
  const Lines sent = bench.sent();
  EXPECT_THAT(Lines(sent.begin(), sent.begin() + 2), ElementsAre("A3", "W300E=0078"));
  EXPECT_EQ(bench.camera.state().clockKhz, 28800);
  // 1374 cycles at 28800 kHz last 47.71 us: 691 lines.
  EXPECT_THAT(sent, Contains("W3012=02B3"));
  bench.camera.setOverclock(99);
  EXPECT_EQ(bench.camera.state().overClock, 30);
}

TEST(RegisterConversationTest, AutomaticBandwidthIsForNewerModels) {
  Bench<T03M> bench(identity::PID_T03M_B);
  bench.open();
  ASSERT_TRUE(bench.camera.setBandwidth(60, true));
  EXPECT_EQ(bench.camera.state().bandwidth, 60);
  EXPECT_FALSE(bench.camera.state().bandwidthAuto);
}

TEST(RegisterConversationTest, StreamingStopsAndRunsInTheSensor) {
  Bench<T06C> bench(identity::PID_T06C, std::make_shared<seam::SteadyClock>());
  bench.open();
  ASSERT_TRUE(bench.camera.setResolution(640, 240, 1, IMAGE_RAW16));
  bench.sent();
  bench.scripted.device->bulk = [](std::uint8_t) {
    std::vector<std::uint8_t> frame(307200, 0);
    frame[0] = 0x12;  // high byte first
    frame[1] = 0x34;
    std::ranges::copy(std::array<std::uint8_t, 4>{0x11, 0xAA, 0x00, 0xBB}, frame.end() - 4);
    return testing::Answer{.data = std::move(frame), .delay = std::chrono::milliseconds(10)};
  };
  ASSERT_TRUE(bench.camera.startCapture(true));
  std::vector<unsigned char> image(307200);
  ASSERT_TRUE(takeImage(bench.camera, image));
  bench.camera.stopCapture();
  EXPECT_THAT(bench.sent(),
              ElementsAre("AA", "W301A=10D8", "A9", "W301A=10DC", "W301A=10D8", "AA"));
  EXPECT_EQ(image[0], 0x34);
  EXPECT_EQ(image[1], 0x12);
}

}  // namespace
}  // namespace orvik::test
