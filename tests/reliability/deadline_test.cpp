// SPDX-License-Identifier: MIT
// Every call returns by its deadline, whatever the camera and the host controller do.
#include <gtest/gtest.h>

#include <future>

#include "reliability/faulty_bench.h"

namespace orvik::test {
namespace {

using namespace std::chrono_literals;

using Deadline = FaultyBench;

/// The camera stops answering vendor requests, but still answers requests for descriptors.
constexpr const char* kFallsSilent =
    "control A7 timeout; control A9 timeout; control AA timeout; control AB timeout;"
    "control AC timeout; control AD timeout; control AE timeout; control AF timeout;"
    "control B3 timeout; control B4 timeout; control B5 timeout; control B6 timeout;"
    "control B7 timeout; control BC timeout; control BD timeout; control BE timeout;"
    "control C2 timeout; control C3 timeout; control C4 timeout; control C7 timeout";

// Opening takes about a hundred requests, a change of the region of interest half as many.
TEST_F(Deadline, OfCallsOfManyRequestsToASilentCamera) {
  openCamera();
  setFaults(kFallsSilent);
  EXPECT_LT(timeOf([] { OrvikSetROIFormat(0, 64, 64, 2, Orvik_IMG_RAW16); }), 6500ms);
  EXPECT_LT(timeOf([] { OrvikSetControlValue(0, Orvik_CTL_HIGH_SPEED_MODE, 1, Orvik_FALSE); }),
            6500ms);
  OrvikCloseCamera(0);
  EXPECT_LT(timeOf([] { OrvikOpenCamera(0); }), 10500ms);
  OrvikCloseCamera(0);

  setFaults("");
  ASSERT_EQ(OrvikOpenCamera(0), Orvik_OK);
  setFaults("control timeout to 6");
  OrvikSetROIFormat(0, 640, 480, 1, Orvik_IMG_RAW8);
  EXPECT_TRUE(eventually([] {
    return OrvikSetControlValue(0, Orvik_CTL_BRIGHTNESS, 20, Orvik_FALSE) == Orvik_OK;
  })) << "a camera that speaks again is heard";
}

TEST_F(Deadline, OfCallsOfManyRequestsWhenNothingIsGivenBack) {
  openCamera();
  setFaults("control deaf 30000");
  EXPECT_LT(timeOf([] { OrvikSetROIFormat(0, 64, 64, 2, Orvik_IMG_RAW16); }), 6500ms);
}

TEST_F(Deadline, OfASilentCamera) {
  openCamera();
  ASSERT_EQ(OrvikStartVideoCapture(0), Orvik_OK);
  ASSERT_EQ(getFrame(), Orvik_OK);
  setFaults("control timeout; bulk timeout");
  // First come the frames that were in flight or queued when the camera stopped answering.
  for (int quiet = 0; quiet < 3;) quiet = getFrame(300) == Orvik_OK ? 0 : quiet + 1;
  EXPECT_LT(timeOf([&] { EXPECT_EQ(getFrame(100), Orvik_ERROR_NO_FRAME); }), 5s);
  EXPECT_LT(timeOf([] {
              EXPECT_EQ(OrvikSetControlValue(0, Orvik_CTL_BRIGHTNESS, 9, Orvik_FALSE),
                        Orvik_ERROR_DRIVER_FAILED);
            }),
            6500ms);
  EXPECT_LT(timeOf([] { OrvikStopVideoCapture(0); }), 5s);
  EXPECT_LT(timeOf([] { OrvikCloseCamera(0); }), 12s);
  EXPECT_LT(timeOf([] { EXPECT_EQ(OrvikOpenCamera(0), Orvik_ERROR_OPEN_FAILED); }), 10500ms);
}

TEST_F(Deadline, OfAWaitWhoseWorkerIsLeftToItself) {
  openCamera();
  ASSERT_EQ(OrvikStartVideoCapture(0), Orvik_OK);
  ASSERT_EQ(getFrame(), Orvik_OK);
  setFaults("any deaf 9000");
  while (getFrame(300) == Orvik_OK) {
  }
  auto waiting = std::async(std::launch::async, [&] {
    EXPECT_EQ(getFrame(-1), Orvik_ERROR_NO_FRAME);
    return std::chrono::steady_clock::now();
  });
  std::this_thread::sleep_for(20ms);
  const auto stopped = std::chrono::steady_clock::now();
  EXPECT_LT(timeOf([] { OrvikStopVideoCapture(0); }), 8s);
  EXPECT_LT(waiting.get() - stopped, 2s) << "it need not wait for the worker";

  // The abandoned worker still reads; a second worker would lose frames to it.
  EXPECT_LT(timeOf([] { EXPECT_EQ(OrvikStartExposure(0), Orvik_OK); }), 2s);
  EXPECT_EQ(status(), Orvik_EXPSTATE_FAILED);
  EXPECT_EQ(OrvikStartVideoCapture(0), Orvik_ERROR_NO_CAMERA_OBJECT);
  setFaults("");
  ASSERT_TRUE(eventually([] { return OrvikStartVideoCapture(0) == Orvik_OK; }));
  EXPECT_EQ(getFrame(), Orvik_OK) << "once it has ended, the camera works again";
}

/// The host controller does not return requests: the worst case for closing.
TEST_F(Deadline, OfACloseWhenNothingIsGivenBack) {
  for (const char* model : {"T15C", "T13C_C"}) {
    openCamera(model);
    OrvikPulseGuideOn(0, Orvik_GUIDE_DIR_1);
    ASSERT_EQ(OrvikStartVideoCapture(0), Orvik_OK);
    ASSERT_EQ(getFrame(), Orvik_OK);
    setFaults("any deaf 30000");
    EXPECT_LT(timeOf([] { EXPECT_EQ(OrvikCloseCamera(0), Orvik_OK); }), 12s) << model;
    setFaults("");
    host_->unplugAll();
    OrvikGetNumOfConnectedCameras();
  }
}

}  // namespace
}  // namespace orvik::test
