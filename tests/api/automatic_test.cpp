// SPDX-License-Identifier: MIT
// Automatic exposure, gain and white balance as a program asks for them.
#include <gtest/gtest.h>

#include "orvik/orvik.h"
#include "support/virtual_bench.h"

namespace orvik::test {
namespace {

struct Control {
  std::int32_t value = 0;
  Orvik_BOOL isAuto = Orvik_FALSE;
};

Control control(Orvik_CONTROL_TYPE type) {
  Control read;
  EXPECT_EQ(OrvikGetControlValue(0, type, &read.value, &read.isAuto), Orvik_OK);
  return read;
}

void setAutomatic(Orvik_CONTROL_TYPE type, std::int32_t from) {
  EXPECT_EQ(OrvikSetControlValue(0, type, from, Orvik_TRUE), Orvik_OK);
}

TEST(FlatAutomatic, ValuesMoveWhileAVideoRunsAndStayWhenTakenByHand) {
  VirtualBench bench;
  sim::CameraOptions options;
  options.sceneKind = sim::SceneKind::kGrey;
  bench.plug(options);
  ASSERT_EQ(OrvikGetNumOfConnectedCameras(), 1);
  ASSERT_EQ(OrvikOpenCamera(0), Orvik_OK);
  ASSERT_EQ(OrvikSetROIFormat(0, 320, 240, 1, Orvik_IMG_RAW8), Orvik_OK);
  setAutomatic(Orvik_CTL_EXPOSURE, 100);
  setAutomatic(Orvik_CTL_GAIN, 0);
  setAutomatic(Orvik_CTL_WB_R, 20);
  setAutomatic(Orvik_CTL_WB_B, 20);
  EXPECT_EQ(control(Orvik_CTL_EXPOSURE).value, 100);

  ASSERT_EQ(OrvikStartVideoCapture(0), Orvik_OK);
  EXPECT_TRUE(eventually([] {
    return control(Orvik_CTL_EXPOSURE).value > 1000 && control(Orvik_CTL_GAIN).value > 20 &&
           control(Orvik_CTL_WB_R).value > 40 && control(Orvik_CTL_WB_B).value > 60;
  }));
  for (const auto type : {Orvik_CTL_EXPOSURE, Orvik_CTL_GAIN, Orvik_CTL_WB_R, Orvik_CTL_WB_B}) {
    EXPECT_EQ(control(type).isAuto, Orvik_TRUE);
  }
  ASSERT_EQ(OrvikSetControlValue(0, Orvik_CTL_EXPOSURE, 2345, Orvik_FALSE), Orvik_OK);
  const std::int32_t gain = control(Orvik_CTL_GAIN).value;
  EXPECT_TRUE(eventually([&] { return control(Orvik_CTL_GAIN).value != gain; }));
  EXPECT_EQ(control(Orvik_CTL_EXPOSURE).value, 2345);
  EXPECT_EQ(control(Orvik_CTL_EXPOSURE).isAuto, Orvik_FALSE);
  EXPECT_EQ(OrvikStopVideoCapture(0), Orvik_OK);
  EXPECT_EQ(OrvikCloseCamera(0), Orvik_OK);
  bench.host().unplugAll();
  OrvikGetNumOfConnectedCameras();
}

}  // namespace
}  // namespace orvik::test
