// SPDX-License-Identifier: MIT
// What is saved for a camera: told apart from others of its model, reset, deleted.
#include <utility>
#include <vector>

#include "wrapper/wrapper_bench.h"

namespace orvik::test {
namespace {

using namespace std::chrono_literals;

class SettingsTest : public WrapperBench {
 protected:
  static int gainOf(const char* serial) { return Camera::open(serial).get(control::kGain); }
  static void leaveWithGain(const char* serial, int gain) {
    Camera::open(serial).set(control::kGain, gain);
  }
};

TEST_F(SettingsTest, CamerasOfOneModelKeepTheirOwn) {
  for (const char* serial : {"AAAA0001", "BBBB0002", "CCCC0003"}) {
    plug(std::string("serial=") + serial);
  }
  leaveWithGain("AAAA0001", 111);
  leaveWithGain("BBBB0002", 222);
  EXPECT_EQ(gainOf("AAAA0001"), 111);
  EXPECT_EQ(gainOf("BBBB0002"), 222);
  EXPECT_EQ(gainOf("CCCC0003"), 222) << "a new one begins as the last of its model";
}

TEST_F(SettingsTest, ResetGivesEveryControlTheValueOfANewCamera) {
  for (const char* model : {"T15C", "T10C_C", "T06C_S", "T01C", "T02C"}) {
    SCOPED_TRACE(model);
    const int id = plug("", model);
    std::vector<std::pair<Orvik_CONTROL_TYPE, ControlValue>> fresh;
    Camera camera = Camera::open();
    for (const Control& control : camera.controls()) {
      if (control.isWritable()) fresh.emplace_back(control.type(), control.read());
    }
    for (const auto& [type, value] : fresh) {
      const Control& control = *camera.control(type);
      const int other = value.value == control.max() ? control.min() : control.max();
      if (type != Orvik_CTL_COOLER_ON) control.write({other, control.hasAuto() && !value.isAuto});
      EXPECT_NE(type == Orvik_CTL_COOLER_ON ? ControlValue{-1} : control.read(), value) << type;
    }
    camera.startVideo();
    EXPECT_EQ(thrownBy([&] { camera.resetSettings(); }), Orvik_ERROR_VIDEO_RUNNING);
    camera.stopVideo();
    camera.resetSettings();
    for (const auto& [type, value] : fresh) EXPECT_EQ(camera.read(type), value) << type;
    camera.close();
    OrvikSimUnplug(id);
  }
}

TEST_F(SettingsTest, WhatIsForgottenDoesNotComeBack) {
  plug("serial=AAAA0001");
  plug("serial=BBBB0002");
  const int fresh = gainOf("AAAA0001");
  leaveWithGain("AAAA0001", 111);
  leaveWithGain("BBBB0002", 222);
  {
    Camera camera = Camera::open("AAAA0001");
    camera.forgetSettings();
    EXPECT_EQ(camera.get(control::kGain), 111) << "the present value stays";
  }
  EXPECT_EQ(gainOf("AAAA0001"), fresh);
  EXPECT_EQ(gainOf("BBBB0002"), 222);
}

TEST_F(SettingsTest, ACameraThatIsGoneHasNoTemperature) {
  const int id = plug("");
  Camera camera = Camera::open();
  EXPECT_NEAR(camera.get(control::kTemperature).degrees, 20, 1);
  OrvikSimUnplug(id);
  EXPECT_EQ(thrownBy([&] { static_cast<void>(camera.get(control::kTemperature)); }),
            Orvik_ERROR_CONTROL);
}

}  // namespace
}  // namespace orvik::test
