// SPDX-License-Identifier: MIT
// Requests to the cooler are lost, or its thermistor gives no usable reading. The cooler must not
// get power without a valid reason.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cooler/cooled_bench.h"
#include "orvik/orvik_service.h"
#include "support/fault_script.h"
#include "usb/current_host.h"

namespace orvik::test {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// An open T13C_C on a bus with faults, controlled by the flat functions. The values for the
/// cooler's drive are recorded.
class CoolerFaults : public ::testing::Test {
 protected:
  ~CoolerFaults() override {
    setFaults("");
    OrvikCloseCamera(0);
  }

  void open(double ambient = 20) {
    sim::CameraOptions options;
    options.ambient = ambient;
    options.controlObserver = observerOf(conversation_);
    id_ = bench_.plug(options);
    installHost(faults_);
    ASSERT_EQ(OrvikGetNumOfConnectedCameras(), 1);
    ASSERT_EQ(OrvikOpenCamera(0), Orvik_OK);
  }
  void regulate(std::int32_t target, std::chrono::seconds duration) {
    ASSERT_EQ(OrvikSetControlValue(0, Orvik_CTL_TARGET_TEMP, target, Orvik_FALSE), Orvik_OK);
    ASSERT_EQ(OrvikSetControlValue(0, Orvik_CTL_COOLER_ON, 1, Orvik_FALSE), Orvik_OK);
    ASSERT_TRUE(bench_.clock->run(duration));
  }

  void setFaults(const char* script) { faults_->setScript(scriptOf(script)); }

  /// @return the values that reached the drive since the last call
  std::vector<std::string> drives() {
    auto lines = conversation_.take();
    std::erase_if(lines, [](const std::string& line) { return !line.starts_with("B2="); });
    return lines;
  }
  static Orvik_COOLER_STATUS status() {
    Orvik_COOLER_STATUS status{};
    EXPECT_EQ(OrvikGetCoolerStatus(0, &status), Orvik_OK);
    return status;
  }
  static Orvik_ERROR_CODE askTemperature() {
    std::int32_t tenths = 0;
    Orvik_BOOL automatic = Orvik_FALSE;
    return OrvikGetControlValue(0, Orvik_CTL_TEMPERATURE, &tenths, &automatic);
  }
  double celsius() { return bench_.bench.host().sensorCelsius(id_).value(); }

  Conversation conversation_;
  CooledBench bench_;
  const std::shared_ptr<fault::FaultHost> faults_ =
      std::make_shared<fault::FaultHost>(bench_.bench.sharedHost());
  int id_ = 0;
};

TEST_F(CoolerFaults, OnlyAnAcknowledgedOffIsToldAndItArrivesInTheEnd) {
  open();
  regulate(-10, 20s);
  const std::int32_t power = status().power;
  ASSERT_GT(power, 5);
  drives();
  setFaults("control B2 fail to 3");
  EXPECT_EQ(OrvikSetControlValue(0, Orvik_CTL_COOLER_ON, 0, Orvik_FALSE),
            Orvik_ERROR_DRIVER_FAILED);
  EXPECT_EQ(status().power, power) << "which the camera still gives";
  EXPECT_THAT(drives(), IsEmpty());
  ASSERT_TRUE(bench_.clock->run(5s));
  EXPECT_THAT(drives(), ElementsAre("B2=FF")) << "behind a measurement";
  EXPECT_EQ(status().power, 0);

  // A drive value whose arrival was not acknowledged is sent again, too.
  regulate(-10, 20s);
  setFaults("control B2 fail");
  ASSERT_TRUE(bench_.clock->run(10s));
  setFaults("");
  drives();
  ASSERT_TRUE(bench_.clock->run(10s));
  EXPECT_FALSE(drives().empty());
  EXPECT_GT(status().power, 5);
}

struct BrokenThermistor {
  const char* name;
  const char* script;
  Orvik_COOLER_FAULT fault;
};

void PrintTo(const BrokenThermistor& broken, std::ostream* out) { *out << broken.name; }

class BrokenThermistors : public CoolerFaults,
                          public ::testing::WithParamInterface<BrokenThermistor> {};

TEST_P(BrokenThermistors, LoseTheirCoolerThePowerUntilTheyWorkAgain) {
  open();
  regulate(-10, 30s);
  const Orvik_COOLER_STATUS before = status();
  EXPECT_GT(before.power, 5);
  EXPECT_TRUE(before.isValid == Orvik_TRUE && before.secondsSinceReading <= 2);
  setFaults(GetParam().script);
  ASSERT_TRUE(bench_.clock->run(10s));
  EXPECT_EQ(status().fault, Orvik_COOLER_NO_FAULT) << "for a while the last reading will do";
  EXPECT_LE(status().power, before.power) << "but nothing winds up";
  EXPECT_EQ(status().isValid, Orvik_FALSE);
  EXPECT_EQ(askTemperature(), Orvik_OK);

  ASSERT_TRUE(bench_.clock->run(25s));
  const Orvik_COOLER_STATUS broken = status();
  EXPECT_EQ(broken.fault, GetParam().fault);
  EXPECT_EQ(broken.power, 0);
  EXPECT_EQ(broken.isRegulating, Orvik_TRUE);
  EXPECT_NEAR(broken.secondsSinceReading, 36, 3);
  EXPECT_EQ(askTemperature(), Orvik_ERROR_CONTROL);
  EXPECT_EQ(drives().back(), "B2=FF");

  setFaults("");
  ASSERT_TRUE(bench_.clock->run(30s));
  EXPECT_EQ(status().fault, Orvik_COOLER_NO_FAULT);
  EXPECT_GT(status().power, 5);
  EXPECT_EQ(askTemperature(), Orvik_OK);
}

INSTANTIATE_TEST_SUITE_P(
    , BrokenThermistors,
    ::testing::Values(BrokenThermistor{"Silent", "control C7 fail", Orvik_COOLER_NO_READING},
                      BrokenThermistor{"Shorted", "control C7 short 2", Orvik_COOLER_OUT_OF_RANGE}),
    [](const auto& instance) { return instance.param.name; });

TEST_F(CoolerFaults, ATargetBelowTheThermistorsRangeIsHeldAtItsEnd) {
  open(5);
  regulate(-35, 600s);
  EXPECT_EQ(status().aim, -19);
  for (int minute = 0; minute < 30; ++minute) {
    ASSERT_TRUE(bench_.clock->run(60s));
    EXPECT_NEAR(celsius(), -19, 1.5) << minute;
    EXPECT_EQ(status().fault, Orvik_COOLER_NO_FAULT);
    EXPECT_NEAR(status().temperature / 10.0, celsius(), 1.2);
  }
}

TEST_F(CoolerFaults, AnAmbientBelowTheRangeGetsNoPower) {
  open(-28);
  regulate(-35, 120s);
  EXPECT_EQ(status().fault, Orvik_COOLER_OUT_OF_RANGE);
  EXPECT_EQ(status().secondsSinceReading, -1);
  EXPECT_EQ(status().power, 0);
  EXPECT_NEAR(celsius(), -28, 0.5);
}

TEST_F(CoolerFaults, TheStatusWantsACoolerAndARecord) {
  open();
  EXPECT_EQ(OrvikGetCoolerStatus(0, nullptr), Orvik_ERROR_ARGUMENT);
  bench_.bench.plug();
  ASSERT_EQ(OrvikGetNumOfConnectedCameras(), 2);
  Orvik_COOLER_STATUS status{};
  EXPECT_EQ(OrvikGetCoolerStatus(1, &status), Orvik_ERROR_NO_CAMERA_OBJECT);
  ASSERT_EQ(OrvikOpenCamera(1), Orvik_OK);
  EXPECT_EQ(OrvikGetCoolerStatus(1, &status), Orvik_ERROR_DRIVER_FAILED);
  OrvikCloseCamera(1);
}

}  // namespace
}  // namespace orvik::test
