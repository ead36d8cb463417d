// SPDX-License-Identifier: MIT
// Tests which registers a T15C receives, in order, when it is opened, configured and started.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "link/camera_versions.h"
#include "models/models.h"
#include "support/take_image.h"
#include "support/virtual_bench.h"

namespace orvik::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::Not;

/// The line length of the full sensor at 100 percent of USB 3: the link carries
/// 190906 * 100 * 10 bytes a second, which is 150 frames, so the sensor's minimum of 292 applies.
const Lines kLineLength292 = {"F1=01", "F19=24", "F20=01", "F1=00"};

/// An exposure of 10000 us with 976 rows, 292 cycles, 18562 kHz: frame length 994, shutter 358.
const Lines kExposure10ms = {"S3001=01", "F1=01",    "F16=E2",   "F17=03",   "F18=00",
                             "F1=00",    "S3020=66", "S3021=01", "S3022=00", "S3001=00"};

class ConversationTest : public ::testing::Test {
 protected:
  ConversationTest() {
    sim::CameraOptions options;
    options.controlObserver = observerOf(conversation_);
    options.sceneKind = sim::SceneKind::kDark;
    bench_.plug(options);
  }

  void open() {
    ASSERT_TRUE(camera_.open(1));
    ASSERT_TRUE(camera_.initialise());
    conversation_.take();
  }

  Conversation conversation_;
  VirtualBench bench_;
  T15C camera_;
};

TEST_F(ConversationTest, ConstructionAndOpeningSendNoRequest) {
  EXPECT_FALSE(camera_.open(0));
  EXPECT_FALSE(camera_.open(2));
  EXPECT_TRUE(camera_.open(1));
  EXPECT_TRUE(camera_.open(1));
  EXPECT_THAT(conversation_.take(), IsEmpty());
}

TEST_F(ConversationTest, Initialisation) {
  ASSERT_TRUE(camera_.open(1));
  ASSERT_TRUE(camera_.initialise());

  // First, everything that a previous program may have left on is switched off: the four guide
  // lines, the stream and the flash's bus.
  const Lines safe = {"B1", "B1", "B1", "B1", "AA", "BE"};
  // The flash has the bus for one page, which holds no table of hot pixels.
  const Lines questions = {"RB4", "BE", "RC3", "BE", "RAD", "RBC", "RBC", "RBC"};
  const Lines table = {"S3003=01", "S300F=00", "S3012=2C", "S3013=01", "S3016=08", "S301D=C2",
                       "S3070=02", "S3071=01", "S309E=22", "S30A5=FB", "S30A6=02", "S30B3=FF",
                       "S30B4=01", "S30B5=42", "S30C2=01", "S310F=0F", "S3110=0E", "S3111=E7",
                       "S3112=9C", "S3113=83", "S3114=10", "S3115=42", "S3128=1E", "S3144=07",
                       "S31ED=38", "S320C=CF", "S324C=40", "S324D=03", "S3261=E0", "S3262=02",
                       "S326E=2F", "S326F=30", "S3270=03", "S3298=00", "S329A=12", "S329B=E1",
                       "S329C=0C"};
  const Lines fixed = {"S305C=20", "S305E=20", "S305D=00", "S305F=00", "S3044=E1",
                       "S3005=01", "S3036=08", "S3007=40", "F0=00",    "AF",
                       "S3002=01", "S3049=00", "F0=30",    "F10=01",   "F1=01",
                       "F12=80",   "F13=80",   "F14=80",   "F15=80",   "F1=00"};
  // Red 52 and blue 95 of 100 as 8 bits, brightness 1, the normal clock, gain 200.
  const Lines controls = {"F1=01",    "F12=85",   "F15=F3",   "F1=00",    "S300B=00", "S300A=01",
                          "S3009=11", "S3001=01", "S3014=C8", "S3015=00", "S3001=00"};
  EXPECT_THAT(conversation_.take(),
              ElementsAreArray(safe + questions + table + fixed + controls + kExposure10ms));

  EXPECT_EQ(camera_.state().firmwareVersion, 0x12);
  EXPECT_EQ(camera_.state().fpgaVersion.load().major, 1);
  EXPECT_EQ(camera_.state().fpgaVersion.load().digits, 0x2026);
}

TEST_F(ConversationTest, FullRegion) {
  open();
  ASSERT_TRUE(camera_.setResolution(1304, 976, 1, IMAGE_8BIT));
  const Lines position = {"S3001=01", "S303C=00", "S303D=00", "S3038=00", "S3039=00", "S3001=00"};
  const Lines depth = {"S3044=E1", "S3005=01", "F10=01"};
  const Lines region = {"F1=01",    "S3006=00", "F2=04",    "F6=09", "S303E=18",
                        "S303F=05", "S303A=D0", "S303B=03", "F8=D0", "F9=03",
                        "F4=18",    "F5=05",    "F1=00"};
  EXPECT_THAT(conversation_.take(),
              ElementsAreArray(position + depth + region + Lines{"S3009=11"} + kLineLength292 +
                               kExposure10ms + kExposure10ms));
}

TEST_F(ConversationTest, BinOfTwoOnTheSensor) {
  open();
  ASSERT_TRUE(camera_.setResolution(640, 480, 2, IMAGE_RAW16));
  const Lines sent = conversation_.take();
  const Lines position = {"S3001=01", "S303C=0C", "S303D=00", "S3038=08", "S3039=00", "S3001=00"};
  const Lines depth = {"S3044=E1", "S3005=00", "F10=11"};
  const Lines region = {"F1=01",    "S3006=22", "F2=02",    "F6=05",   "S303E=00",
                        "S303F=05", "S303A=C0", "S303B=03", "F8=E0",   "F9=01",
                        "F4=80",    "F5=02",    "F1=00",    "S3009=10"};
  const Lines expected = position + depth + region;
  ASSERT_GE(sent.size(), expected.size());
  EXPECT_THAT(Lines(sent.begin(), sent.begin() + static_cast<std::ptrdiff_t>(expected.size())),
              ElementsAreArray(expected));
  EXPECT_EQ(camera_.state().clockKhz, 9281);
}

TEST_F(ConversationTest, HighSpeedReadsTenBitsTwiceAsFast) {
  open();
  camera_.setResolution(1304, 976, 1, IMAGE_8BIT);
  conversation_.take();
  ASSERT_TRUE(camera_.setHighSpeedMode(true));
  const Lines sent = conversation_.take();
  const Lines mode = {"S3044=E0", "S3005=00", "F10=00", "S3009=10"};
  EXPECT_THAT(Lines(sent.begin(), sent.begin() + 4), ElementsAreArray(mode));
  EXPECT_EQ(camera_.state().clockKhz, 37124);
  EXPECT_THAT(Lines(sent.end() - 2, sent.end()), ElementsAre("S300B=00", "S300A=01"));

  camera_.setResolution(652, 488, 2, IMAGE_8BIT);
  conversation_.take();
  EXPECT_TRUE(camera_.setHighSpeedMode(false));
  EXPECT_THAT(conversation_.take(), IsEmpty()) << "binning on the sensor fixes the mode";
}

TEST_F(ConversationTest, CrossingOneSecondIsToldOnce) {
  open();
  camera_.setExposure(999'999, false);
  EXPECT_THAT(conversation_.take(), Not(Contains("S0000=E1")));
  camera_.setExposure(1'000'000, false);
  EXPECT_EQ(conversation_.take().front(), "S0000=E1");
  camera_.setExposure(2'000'000, false);
  EXPECT_THAT(conversation_.take(), Not(Contains("S0000=E1")));
  camera_.setExposure(999'999, false);
  const Lines sent = conversation_.take();
  EXPECT_THAT(Lines(sent.begin(), sent.begin() + 2), ElementsAre("S0000=21", "S3009=11"));

  camera_.setExposure(5, false);
  EXPECT_EQ(camera_.state().exposureUs, 32U);
  camera_.setExposure(std::uint64_t{1} << 32U, false);
  EXPECT_EQ(camera_.state().exposureUs, 1'000'000'000U);
}

TEST_F(ConversationTest, BandwidthIsLimitedAndStartsAnewOnAutomatic) {
  open();
  camera_.setResolution(1304, 976, 1, IMAGE_8BIT);
  const CameraState& state = camera_.state();
  camera_.setBandwidth(30, false);
  EXPECT_EQ(state.bandwidth, 40);
  EXPECT_FALSE(state.bandwidthAuto);
  const auto before = camera_.clock().now();
  camera_.setBandwidth(60, true);
  EXPECT_EQ(state.bandwidth, 100);
  EXPECT_GE(state.bandwidthAutoSince.load(), before);
  camera_.setBandwidth(60, true);
  EXPECT_EQ(state.bandwidth, 60) << "already on automatic: the value counts";
}

TEST_F(ConversationTest, CamerasOfOneModelHaveLineLengthsOfTheirOwn) {
  open();
  sim::CameraOptions onUsb2;
  onUsb2.usb3Port = false;
  bench_.plug(onUsb2);
  const auto fastest = [](T15C& camera) {
    camera.setBandwidth(100, false);
    return camera.state().maxFrameRate.load();
  };
  camera_.setResolution(320, 240, 1, IMAGE_8BIT);
  const float alone = fastest(camera_);
  T15C other;  // on USB 2 it is the first of its class
  ASSERT_TRUE(other.open(1) && other.initialise());
  ASSERT_TRUE(other.setResolution(640, 480, 2, IMAGE_RAW16)) << "with the shortest of lines";
  EXPECT_EQ(fastest(camera_), alone);
}

TEST_F(ConversationTest, StartAndStop) {
  open();
  camera_.setResolution(1304, 976, 1, IMAGE_8BIT);
  camera_.setExposure(20000, false);  // above the frame time: read timeout of 1 s
  conversation_.take();
  ASSERT_TRUE(camera_.startCapture(false));
  ASSERT_TRUE(camera_.startCapture(false));
  std::vector<unsigned char> image(1304 * 976);
  ASSERT_TRUE(takeImage(camera_, image));
  EXPECT_THAT(conversation_.take(),
              ElementsAre("AA", "F0=31", "S3000=01", "A9", "S3000=00", "F0=21"));
  ASSERT_TRUE(camera_.stopCapture());
  EXPECT_THAT(conversation_.take(), ElementsAre("F0=31", "S3000=01", "AA"));
  ASSERT_TRUE(camera_.stopCapture());
  EXPECT_THAT(conversation_.take(), IsEmpty());

  ASSERT_TRUE(camera_.close());
  open();
  ASSERT_TRUE(camera_.startCapture(false));
  EXPECT_THAT(conversation_.take(), Contains("S303E=18"))
      << "a sensor that began anew has no region";
}

TEST_F(ConversationTest, NoSensorRegisterWithoutItsClock) {
  open();
  ASSERT_TRUE(camera_.link().stopSensorClock());
  conversation_.take();
  std::uint8_t value = 7;
  EXPECT_FALSE(camera_.link().writeSensorByte(0x3014, 1));
  EXPECT_FALSE(camera_.link().readSensorByte(0x3014, value));
  EXPECT_EQ(value, 0);
  EXPECT_TRUE(camera_.link().writeFpga(13, 128));
  EXPECT_THAT(conversation_.take(), ElementsAre("F13=80"));
  EXPECT_TRUE(camera_.link().startSensorClock());
  EXPECT_TRUE(camera_.link().writeSensorByte(0x3014, 1));
  ASSERT_TRUE(camera_.link().stopSensorClock());
  ASSERT_TRUE(camera_.reconnect());
  conversation_.take();
  camera_.link().writeSensorByte(0x3014, 1);
  EXPECT_THAT(conversation_.take(), ElementsAre("S3014=01")) << "that was another device's clock";
}

TEST_F(ConversationTest, AClosedCameraIsNotSpokenTo) {
  open();
  EXPECT_TRUE(camera_.link().send(VendorRequest::kSwitchBus, 0));
  EXPECT_TRUE(camera_.close());
  EXPECT_THAT(conversation_.take(), ElementsAre("BE", "BE")) << "what it is owed comes first";
  std::uint16_t value = 7;
  EXPECT_FALSE(camera_.link().send(VendorRequest::kStopStreaming));
  EXPECT_FALSE(camera_.link().readSensorWord(0x3000, value));
  EXPECT_EQ(value, 0);
  EXPECT_FALSE(isAtUsb3Port(camera_.link()));
  EXPECT_FALSE(camera_.startCapture(false));
  EXPECT_THAT(conversation_.take(), IsEmpty());
}

}  // namespace
}  // namespace orvik::test
