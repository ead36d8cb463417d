// SPDX-License-Identifier: MIT
// Tests the flat interface, with correct and with incorrect use.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "orvik/orvik.h"
#include "support/process.h"
#include "support/virtual_bench.h"

namespace orvik::test {
namespace {

class FlatInterfaceTest : public ::testing::Test {
 protected:
  ~FlatInterfaceTest() override {
    for (int index = 0; index < OrvikGetNumOfConnectedCameras(); ++index) OrvikCloseCamera(index);
    bench_.host().unplugAll();
    OrvikGetNumOfConnectedCameras();
  }

  void plugGrey() {
    sim::CameraOptions options;
    options.sceneKind = sim::SceneKind::kGrey;
    bench_.plug(options);
  }

  void open() {
    plugGrey();
    ASSERT_EQ(OrvikGetNumOfConnectedCameras(), 1);
    ASSERT_EQ(OrvikOpenCamera(0), Orvik_OK);
  }

  static std::int32_t value(Orvik_CONTROL_TYPE type) {
    std::int32_t value = -1;
    Orvik_BOOL automatic = Orvik_FALSE;
    EXPECT_EQ(OrvikGetControlValue(0, type, &value, &automatic), Orvik_OK);
    return value;
  }

  VirtualBench bench_;
};

TEST_F(FlatInterfaceTest, OpensEnumeratesAndClosesAsOftenAsTold) {
  plugGrey();
  EXPECT_EQ(OrvikOpenCamera(0), Orvik_OK) << "enumerates by itself";
  EXPECT_EQ(OrvikOpenCamera(0), Orvik_OK);
  Orvik_CAMERA_INFO info;
  ASSERT_EQ(OrvikGetCameraProperty(&info, 0), Orvik_OK);
  EXPECT_EQ(info.usb3Host, Orvik_TRUE);
  EXPECT_EQ(OrvikGetNumOfConnectedCameras(), 1) << "an open camera is still connected";
  EXPECT_EQ(OrvikCloseCamera(0), Orvik_OK);
  EXPECT_EQ(OrvikCloseCamera(0), Orvik_OK);
  EXPECT_EQ(OrvikStopExposure(0), Orvik_ERROR_NO_CAMERA_OBJECT);
  EXPECT_EQ(OrvikOpenCamera(7), Orvik_ERROR_CAMERA_INDEX);
  EXPECT_EQ(OrvikOpenCamera(0), Orvik_OK);
}

TEST_F(FlatInterfaceTest, AnUnknownModelIsCountedAndRefused) {
  sim::Model stranger = *sim::findModel("T15C");
  stranger.productId = 0x7777;
  bench_.host().plug(stranger);
  ASSERT_EQ(OrvikGetNumOfConnectedCameras(), 1);
  Orvik_CAMERA_INFO info;
  EXPECT_EQ(OrvikGetCameraProperty(&info, 0), Orvik_ERROR_NO_CAMERA_OBJECT);
  EXPECT_EQ(OrvikOpenCamera(0), Orvik_ERROR_NO_CAMERA_OBJECT);
  EXPECT_EQ(OrvikCloseCamera(0), Orvik_OK);
}

TEST_F(FlatInterfaceTest, ACameraThatWentAwayDoesNotOpen) {
  plugGrey();
  ASSERT_EQ(OrvikGetNumOfConnectedCameras(), 1);
  bench_.host().unplugAll();
  EXPECT_EQ(OrvikOpenCamera(0), Orvik_ERROR_OPEN_FAILED);
}

TEST_F(FlatInterfaceTest, ControlsAreSetWithinTheirLimits) {
  open();
  struct Case {
    Orvik_CONTROL_TYPE type;
    std::int32_t set, read;
  };
  for (const Case& c : std::vector<Case>{{Orvik_CTL_FLIP, 3, 3},
                                         {Orvik_CTL_FLIP, 7, 3},
                                         {Orvik_CTL_FLIP, -1, 3},
                                         {Orvik_CTL_FLIP, 1, 1},
                                         {Orvik_CTL_HIGH_SPEED_MODE, 5, 1}}) {
    EXPECT_EQ(OrvikSetControlValue(0, c.type, c.set, Orvik_FALSE), Orvik_OK) << c.type;
    EXPECT_EQ(value(c.type), c.read) << "control " << c.type << " set to " << c.set;
  }
  EXPECT_EQ(OrvikSetControlValue(0, Orvik_CTL_OVERCLK, 1, Orvik_FALSE), Orvik_ERROR_DRIVER_FAILED)
      << "this model does not over-clock";

  Orvik_BOOL automatic = Orvik_FALSE;
  std::int32_t read = 0;
  OrvikSetControlValue(0, Orvik_CTL_GAIN, 100, static_cast<Orvik_BOOL>(2));
  OrvikGetControlValue(0, Orvik_CTL_GAIN, &read, &automatic);
  EXPECT_EQ(automatic, Orvik_FALSE) << "only exactly 1 is automatic";
  OrvikSetControlValue(0, Orvik_CTL_GAIN, 100, Orvik_TRUE);
  OrvikGetControlValue(0, Orvik_CTL_GAIN, &read, &automatic);
  EXPECT_EQ(automatic, Orvik_TRUE);
}

TEST_F(FlatInterfaceTest, StartPositionCountsBinnedPixels) {
  open();
  int x = -1;
  int y = -1;
  ASSERT_EQ(OrvikSetROIFormat(0, 320, 240, 2, Orvik_IMG_RAW8), Orvik_OK);
  ASSERT_EQ(OrvikGetStartPos(0, &x, &y), Orvik_OK);
  EXPECT_EQ(x, 166) << "centred: 332 of 664 free sensor pixels";
  EXPECT_EQ(y, 124);
  EXPECT_EQ(OrvikSetStartPos(0, 11, 21), Orvik_OK);
  OrvikGetStartPos(0, &x, &y);
  EXPECT_EQ(x, 10) << "sensor column 22 rounded down to 20";
  EXPECT_EQ(y, 21);
  EXPECT_EQ(OrvikSetStartPos(0, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()),
            Orvik_OK);
  OrvikGetStartPos(0, &x, &y);
  EXPECT_EQ(x, 332);
  EXPECT_EQ(y, 0);
  EXPECT_EQ(OrvikGetStartPos(0, nullptr, &y), Orvik_ERROR_START_POS);
}

TEST_F(FlatInterfaceTest, BuffersAreCheckedBeforeTheCameraIsAsked) {
  open();
  ASSERT_EQ(OrvikSetROIFormat(0, 320, 240, 1, Orvik_IMG_RGB24), Orvik_OK);
  constexpr int kSize = 320 * 240 * 3;
  std::vector<unsigned char> image(kSize, 0x11);
  EXPECT_EQ(OrvikGetVideoData(0, image.data(), kSize - 1, 1000), Orvik_ERROR_BUFFER_SMALL);
  EXPECT_EQ(OrvikGetVideoData(0, nullptr, kSize, 1000), Orvik_ERROR_BUFFER_SMALL);
  EXPECT_EQ(OrvikGetVideoData(0, image.data(), -1, 1000), Orvik_ERROR_BUFFER_SMALL);
  EXPECT_EQ(OrvikGetDataAfterExp(0, image.data(), kSize - 1), Orvik_ERROR_BUFFER_SMALL);
  EXPECT_EQ(OrvikGetVideoData(0, image.data(), kSize, 0), Orvik_ERROR_NO_FRAME);
  EXPECT_EQ(OrvikGetVideoData(0, image.data(), kSize, -1), Orvik_ERROR_NO_FRAME)
      << "nothing runs, so nothing can be waited for";
  EXPECT_EQ(OrvikGetDataAfterExp(0, image.data(), kSize), Orvik_OK) << "whatever there is";
  EXPECT_THAT(image, ::testing::Each(0x11));

  ASSERT_EQ(OrvikStartExposure(0), Orvik_OK);
  EXPECT_EQ(OrvikGetDataAfterExp(0, image.data(), kSize), Orvik_OK) << "waits for the exposure";
  EXPECT_THAT(image, ::testing::Contains(::testing::Ne(0x11)));
  Orvik_EXPOSURE_STATUS status = Orvik_EXPSTATE_NONE;
  EXPECT_TRUE(eventually(
      [&] { return OrvikGetExpStatus(0, &status) == Orvik_OK && status == Orvik_EXPSTATE_READY; }));
  EXPECT_EQ(OrvikStopExposure(0), Orvik_OK);
  OrvikGetExpStatus(0, &status);
  EXPECT_EQ(status, Orvik_EXPSTATE_NONE) << "an exposure that was stopped has no image";
}

TEST_F(FlatInterfaceTest, AFormatDoesNotOutliveItsCamera) {
  open();
  ASSERT_EQ(OrvikSetROIFormat(0, 1304, 976, 1, Orvik_IMG_RGB24), Orvik_OK);
  ASSERT_EQ(OrvikCloseCamera(0), Orvik_OK);
  ASSERT_EQ(OrvikOpenCamera(0), Orvik_OK);
  unsigned char byte = 0x11;
  EXPECT_EQ(OrvikGetVideoData(0, &byte, 0, 0), Orvik_ERROR_NO_FRAME)
      << "no size is asked for before a format is set";
}

TEST_F(FlatInterfaceTest, AnOpenCameraCostsAddressesNotMemory) {
  plugGrey();
  OrvikGetNumOfConnectedCameras();
  const auto before = processCounts().resident;
  Orvik_CAMERA_INFO info;
  ASSERT_EQ(OrvikGetCameraProperty(&info, 0), Orvik_OK);
  ASSERT_EQ(OrvikOpenCamera(0), Orvik_OK);
  EXPECT_LT(processCounts().resident, before + 32 * 1'048'576);
}

}  // namespace
}  // namespace orvik::test
