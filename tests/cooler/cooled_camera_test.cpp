// SPDX-License-Identifier: MIT
// These tests check the requests that a cooled camera receives and the values of its controls.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "cooler/cooled_bench.h"
#include "models/models.h"

namespace orvik::test {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A connected cooled camera whose requests are recorded.
struct Listened {
  explicit Listened(CooledBench& bench) {
    sim::CameraOptions options;
    options.controlObserver = observerOf(conversation);
    bench.plug(options);
  }
  /// @return the values sent to the cooler's drive since the last call
  std::vector<std::string> drives() {
    std::vector<std::string> lines = conversation.take();
    std::erase_if(lines, [](const std::string& line) { return !line.starts_with("B2="); });
    return lines;
  }
  Conversation conversation;
};

class CooledCameraTest : public ::testing::Test {
 protected:
  void open() { ASSERT_TRUE(camera_.open(1) && camera_.initialise()); }

  std::int32_t valueOf(Orvik_CONTROL_TYPE type) {
    const auto control = camera_.readControl(type);
    EXPECT_TRUE(control && !control->automatic);
    return control ? control->value : -1;
  }

  CooledBench bench_;
  Listened wire_{bench_};
  T13C_C camera_;
};

TEST_F(CooledCameraTest, OpensWithTheCoolerOffAndTheTargetKept) {
  camera_.state().targetTemperature = -7;
  camera_.state().coolerPower = 55;
  open();
  const std::vector<std::string> lines = wire_.conversation.take();
  EXPECT_EQ(lines.back(), "B2=FF") << "after the sensor, and nothing else of the cooler yet";
  EXPECT_THAT(lines, ::testing::Contains("S329C=0C"));
  EXPECT_TRUE(camera_.isThreadRunning());
  EXPECT_EQ(valueOf(Orvik_CTL_COOLER_ON), 0);
  EXPECT_EQ(valueOf(Orvik_CTL_TARGET_TEMP), -7);
  EXPECT_EQ(valueOf(Orvik_CTL_COOL_POWER_PERC), 0);
}

TEST_F(CooledCameraTest, PowerBecomesDriveAndIsLimited) {
  open();
  wire_.drives();
  camera_.cooler().setPower(100);
  camera_.cooler().setPower(150);
  EXPECT_THAT(wire_.drives(), ElementsAre("B2=2F")) << "47, and sent once";
  EXPECT_EQ(camera_.cooler().power(), 100);
  camera_.cooler().setPower(50.9F);
  EXPECT_EQ(camera_.cooler().power(), 50);
  wire_.drives();
  camera_.cooler().setPower(-3);
  EXPECT_THAT(wire_.drives(), ElementsAre("B2=FF"));
  EXPECT_EQ(camera_.cooler().power(), 0);
}

TEST_F(CooledCameraTest, ANewTargetStartsTheControllerAnew) {
  ASSERT_TRUE(camera_.open(1));
  camera_.cooler().setRegulation(true, -10);
  camera_.cooler().regulate(20);
  const int power = camera_.cooler().power();
  EXPECT_GT(power, 0);
  camera_.setTargetTemperature(10);
  camera_.cooler().regulate(20);
  EXPECT_GT(camera_.cooler().power(), power) << "the step of the target is no step of the sensor";
}

TEST_F(CooledCameraTest, TheTargetIsAWholeNumber) {
  using Limits = std::numeric_limits<int>;
  for (const auto& [wanted, kept] :
       {std::pair{-9.9F, -9}, std::pair{9.9F, 9}, std::pair{1e30F, Limits::max()},
        std::pair{-1e30F, Limits::min()}, std::pair{std::nanf(""), 0}}) {
    camera_.cooler().setRegulation(true, wanted);
    EXPECT_TRUE(camera_.state().coolerOn);
    EXPECT_EQ(camera_.state().targetTemperature, kept) << wanted;
  }
}

TEST_F(CooledCameraTest, TheTemperatureIsReadUntilTheThreadKeepsIt) {
  open();
  wire_.conversation.take();
  EXPECT_NEAR(valueOf(Orvik_CTL_TEMPERATURE), 200, 8);
  EXPECT_THAT(wire_.conversation.take(), ElementsAre("RC7"));
  ASSERT_TRUE(bench_.clock->run(2s));
  EXPECT_THAT(wire_.conversation.take(), ElementsAre("RC7")) << "the thread's";
  EXPECT_NEAR(valueOf(Orvik_CTL_TEMPERATURE), 200, 8);
  EXPECT_THAT(wire_.conversation.take(), IsEmpty());
}

TEST_F(CooledCameraTest, ClosingTakesThePowerAwayAndEndsTheThread) {
  open();
  camera_.cooler().setRegulation(true, -10);
  ASSERT_TRUE(bench_.clock->run(60s));
  EXPECT_GT(camera_.cooler().power(), 0);
  wire_.drives();
  EXPECT_TRUE(camera_.close());
  EXPECT_THAT(wire_.drives(), ElementsAre("B2=FF"));
  EXPECT_FALSE(camera_.isThreadRunning());
  EXPECT_EQ(camera_.cooler().power(), 0);

  open();
  EXPECT_TRUE(camera_.isThreadRunning());
  EXPECT_FALSE(camera_.state().temperatureIsRecent(bench_.clock->now())) << "nobody has asked yet";
  wire_.conversation.take();
  valueOf(Orvik_CTL_TEMPERATURE);
  EXPECT_THAT(wire_.conversation.take(), ElementsAre("RC7")) << "what was kept before has gone";
  EXPECT_EQ(valueOf(Orvik_CTL_COOLER_ON), 0);
  EXPECT_EQ(valueOf(Orvik_CTL_TARGET_TEMP), -10);
}

TEST_F(CooledCameraTest, CamerasOfOneProcessKnowNothingOfEachOther) {
  Listened otherWire(bench_);
  T13C_C other;
  open();
  ASSERT_TRUE(other.open(2) && other.initialise());
  wire_.drives();
  otherWire.drives();
  for (T13C_C* camera : {&camera_, &other}) camera->cooler().setDrive(100);
  for (T13C_C* camera : {&camera_, &other}) camera->cooler().setPower(0);
  EXPECT_THAT(wire_.drives(), ElementsAre("B2=64", "B2=FF"));
  EXPECT_THAT(otherWire.drives(), ElementsAre("B2=64", "B2=FF"));
  EXPECT_NEAR(camera_.cooler().readTemperature(), 20, 0.8);
  EXPECT_EQ(other.cooler().believedCelsius(0, 10), 0) << "no reading of its own yet";
}

/// The same tests with the flat functions.
class FlatCoolerTest : public CooledCameraTest {
 protected:
  FlatCoolerTest() {
    bench_.bench.plug();
    EXPECT_EQ(OrvikGetNumOfConnectedCameras(), 2);
    EXPECT_EQ(OrvikOpenCamera(0), Orvik_OK);
    EXPECT_EQ(OrvikOpenCamera(1), Orvik_OK);
  }
  ~FlatCoolerTest() override {
    OrvikCloseCamera(0);
    OrvikCloseCamera(1);
  }

  static std::int32_t get(Orvik_CONTROL_TYPE type) {
    std::int32_t value = -1;
    Orvik_BOOL automatic = Orvik_FALSE;
    EXPECT_EQ(OrvikGetControlValue(0, type, &value, &automatic), Orvik_OK);
    return value;
  }
  static Orvik_ERROR_CODE set(int index, Orvik_CONTROL_TYPE type, std::int32_t value) {
    return OrvikSetControlValue(index, type, value, Orvik_FALSE);
  }
};

TEST_F(FlatCoolerTest, CoolerOnZeroEndsRegulationAndPowerForGood) {
  EXPECT_EQ(set(0, Orvik_CTL_TARGET_TEMP, -10), Orvik_OK);
  EXPECT_EQ(set(0, Orvik_CTL_COOLER_ON, 1), Orvik_OK);
  EXPECT_EQ(get(Orvik_CTL_COOLER_ON), 1);
  EXPECT_EQ(get(Orvik_CTL_TARGET_TEMP), -10);
  ASSERT_TRUE(bench_.clock->run(30s));
  EXPECT_GT(get(Orvik_CTL_COOL_POWER_PERC), 20);
  wire_.drives();

  EXPECT_EQ(set(0, Orvik_CTL_COOLER_ON, 0), Orvik_OK);
  EXPECT_EQ(get(Orvik_CTL_COOLER_ON), 0);
  EXPECT_EQ(set(0, Orvik_CTL_TARGET_TEMP, -99), Orvik_OK);
  EXPECT_EQ(get(Orvik_CTL_TARGET_TEMP), -35);
  ASSERT_TRUE(bench_.clock->run(60s));
  EXPECT_THAT(wire_.drives(), ElementsAre("B2=FF")) << "nor does a new target switch it on";
  EXPECT_EQ(get(Orvik_CTL_COOL_POWER_PERC), 0);
}

TEST_F(FlatCoolerTest, RegulationGoesOnDuringCapture) {
  ASSERT_EQ(OrvikSetROIFormat(0, 64, 64, 1, Orvik_IMG_RAW8), Orvik_OK);
  EXPECT_EQ(set(0, Orvik_CTL_EXPOSURE, 500'000), Orvik_OK);
  EXPECT_EQ(set(0, Orvik_CTL_TARGET_TEMP, 0), Orvik_OK);
  EXPECT_EQ(set(0, Orvik_CTL_COOLER_ON, 1), Orvik_OK);
  ASSERT_EQ(OrvikStartVideoCapture(0), Orvik_OK);
  std::vector<unsigned char> frame(64 * 64);
  const auto size = static_cast<std::int32_t>(frame.size());
  ASSERT_TRUE(bench_.clock->run(0s, 2)) << "cooler and worker, which lets the sensor wake up";
  bench_.clock->sleepFor(20ms);
  for (int minute = 0; minute < 10; ++minute) {
    ASSERT_TRUE(bench_.clock->run(60s, 3)) << "cooler, sensor and automatic control";
    ASSERT_EQ(OrvikGetVideoData(0, frame.data(), size, 20000), Orvik_OK) << minute;
  }
  EXPECT_EQ(OrvikStopVideoCapture(0), Orvik_OK);
  EXPECT_NEAR(get(Orvik_CTL_TEMPERATURE) / 10.0, 0, 1.5);
  EXPECT_GT(get(Orvik_CTL_COOL_POWER_PERC), 20);
}

}  // namespace
}  // namespace orvik::test
