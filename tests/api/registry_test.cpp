// SPDX-License-Identifier: MIT
// The cameras of a process by index: who is who, what a property query leaves behind, and that
// opening and closing costs nothing that lasts.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <deque>
#include <filesystem>
#include <string>

#include "orvik/orvik.h"
#include "seam/identity.h"
#include "support/scripted_bench.h"

namespace orvik::test {
namespace {

class RegistryTest : public ::testing::Test {
 protected:
  ~RegistryTest() override {
    for (int index = 0; index < OrvikGetNumOfConnectedCameras(); ++index) OrvikCloseCamera(index);
    bench_.host->plugged.clear();
    OrvikGetNumOfConnectedCameras();
  }

  ScriptedCamera& plug(std::uint16_t productId) {
    const auto port = static_cast<std::uint8_t>(cameras_.size() + 1);
    bench_.plug(cameras_.emplace_back(productId, port));
    return cameras_.back();
  }

  static std::string nameOf(int index) {
    Orvik_CAMERA_INFO info;
    return OrvikGetCameraProperty(&info, index) == Orvik_OK ? info.name : "";
  }

  ScriptedBench bench_;
  std::deque<ScriptedCamera> cameras_;
};

TEST_F(RegistryTest, IndicesFollowClassesThenPorts) {
  plug(identity::PID_T15C);
  plug(identity::PID_T10M_COOL);
  plug(identity::PID_T02C_C);
  plug(identity::PID_T10C);
  plug(identity::PID_T01C);
  ASSERT_EQ(OrvikGetNumOfConnectedCameras(), 5);
  EXPECT_EQ(nameOf(0), "Vek T01C");
  EXPECT_EQ(nameOf(1), "Vek T02C");
  EXPECT_EQ(nameOf(2), "Vek T10M COOL");
  EXPECT_EQ(nameOf(3), "Vek T10C");
  EXPECT_EQ(nameOf(4), "Vek T15C");
}

TEST_F(RegistryTest, AGroupOfProductsIsOneModel) {
  plug(identity::PID_T03C_A);
  plug(identity::PID_T03M_A);
  plug(identity::PID_T03M_B);
  const ScriptedCamera& last = plug(identity::PID_T03M_B);
  ASSERT_EQ(OrvikGetNumOfConnectedCameras(), 4);
  ASSERT_EQ(OrvikOpenCamera(3), Orvik_OK);
  EXPECT_EQ(last.device->openPorts, 1);
  EXPECT_EQ(nameOf(3), "Halvard T03M-B");
  EXPECT_EQ(nameOf(1), "Halvard T03M-A");
  EXPECT_EQ(OrvikCloseCamera(3), Orvik_OK);
  EXPECT_EQ(last.device->openPorts, 0);
}

TEST_F(RegistryTest, APropertyQueryOpensOnlyModelsWithVariantsAndOnlyForAMoment) {
  ScriptedCamera& variant = plug(identity::PID_T09C_B);
  ScriptedCamera& plain = plug(identity::PID_T06C_SC);
  ASSERT_EQ(OrvikGetNumOfConnectedCameras(), 2);  // classes 3 and 5
  variant.device->claimed.clear();
  plain.device->claimed.clear();
  EXPECT_EQ(nameOf(0), "Vek T06C-S") << "told from the model, without a look at the device";
  EXPECT_EQ(nameOf(1), "Vek T09C-B");
  EXPECT_TRUE(plain.device->claimed.empty());
  EXPECT_EQ(variant.device->claimed.size(), 1U);
  EXPECT_EQ(variant.device->openPorts, 0);
  EXPECT_TRUE(variant.conversation.take().empty()) << "nothing was sent to it";
  EXPECT_EQ(OrvikStartVideoCapture(1), Orvik_ERROR_NO_CAMERA_OBJECT);

  variant.device->claimable = false;
  EXPECT_EQ(nameOf(1), "Vek T09C") << "another program has it: the model is still known";
  EXPECT_EQ(OrvikOpenCamera(1), Orvik_ERROR_OPEN_FAILED);
  EXPECT_EQ(variant.device->openPorts, 0);

  ASSERT_EQ(OrvikOpenCamera(0), Orvik_OK);
  EXPECT_EQ(nameOf(0), "Vek T06C-SC");
  EXPECT_EQ(plain.device->openPorts, 1) << "an open camera stays open";
}

TEST_F(RegistryTest, NullPointersTouchNothing) {
  ScriptedCamera& camera = plug(identity::PID_T08M);
  ASSERT_EQ(OrvikOpenCamera(0), Orvik_OK);
  ASSERT_EQ(OrvikSetROIFormat(0, 64, 64, 1, Orvik_IMG_RAW8), Orvik_OK);
  camera.conversation.take();
  int number = -7;
  Orvik_BOOL flag = Orvik_TRUE;
  std::int32_t value = -7;
  IMG_TYPE type = Orvik_IMG_END;
  EXPECT_EQ(OrvikGetCameraProperty(nullptr, 0), Orvik_ERROR_INFO_INDEX);
  EXPECT_EQ(OrvikGetNumOfControls(0, nullptr), Orvik_ERROR_CONTROL);
  EXPECT_EQ(OrvikGetControlCaps(0, 0, nullptr), Orvik_ERROR_CONTROL);
  EXPECT_EQ(OrvikGetControlValue(0, Orvik_CTL_GAIN, nullptr, &flag), Orvik_ERROR_CONTROL);
  EXPECT_EQ(OrvikGetControlValue(0, Orvik_CTL_GAIN, &value, nullptr), Orvik_ERROR_CONTROL);
  EXPECT_EQ(OrvikGetROIFormat(0, &number, &number, nullptr, &type), Orvik_ERROR_ROI_SIZE);
  EXPECT_EQ(OrvikGetStartPos(0, &number, nullptr), Orvik_ERROR_START_POS);
  EXPECT_EQ(OrvikGetDroppedFrames(0, nullptr), Orvik_ERROR_DRIVER_FAILED);
  EXPECT_EQ(OrvikEnableDarkSubtract(0, nullptr, &flag), Orvik_ERROR_DARK_FILE_PATH);
  EXPECT_EQ(OrvikEnableDarkSubtract(0, nullptr, nullptr), Orvik_ERROR_DARK_FILE_PATH);
  EXPECT_EQ(OrvikGetVideoData(0, nullptr, 4096, 0), Orvik_ERROR_BUFFER_SMALL);
  EXPECT_EQ(OrvikGetDataAfterExp(0, nullptr, 4096), Orvik_ERROR_BUFFER_SMALL);
  EXPECT_EQ(OrvikGetExpStatus(0, nullptr), Orvik_ERROR_DRIVER_FAILED);
  EXPECT_EQ(OrvikGetID(0, nullptr), Orvik_ERROR_DRIVER_FAILED);
  EXPECT_EQ(number, -7);
  EXPECT_EQ(value, -7);
  EXPECT_EQ(flag, Orvik_TRUE);
  EXPECT_EQ(type, Orvik_IMG_END);
  EXPECT_TRUE(camera.conversation.take().empty());
}

TEST_F(RegistryTest, ControlsThatAModelDoesNotOfferAreRefused) {
  plug(identity::PID_T08M);
  ASSERT_EQ(OrvikOpenCamera(0), Orvik_OK);
  for (const Orvik_CONTROL_TYPE type :
       {Orvik_CTL_BRIGHTNESS, Orvik_CTL_BANDWIDTH, Orvik_CTL_OVERCLK, Orvik_CTL_HARDWARE_BIN,
        Orvik_CTL_TARGET_TEMP, Orvik_CTL_COOLER_ON}) {
    EXPECT_EQ(OrvikSetControlValue(0, type, 50, Orvik_FALSE), Orvik_ERROR_DRIVER_FAILED) << type;
  }
  EXPECT_EQ(OrvikSetControlValue(0, Orvik_CTL_HIGH_SPEED_MODE, 1, Orvik_FALSE), Orvik_OK);
}

TEST_F(RegistryTest, AtMost128Cameras) {
  for (int n = 0; n < 130; ++n) plug(identity::PID_T01C);
  EXPECT_EQ(OrvikGetNumOfConnectedCameras(), 128);
  EXPECT_EQ(nameOf(127), "Vek T01C");
  EXPECT_EQ(OrvikOpenCamera(128), Orvik_ERROR_CAMERA_INDEX);
  EXPECT_EQ(OrvikOpenCamera(127), Orvik_OK);
}

/// What a process holds.
struct Holdings {
  double residentMiB = 0;
  long files = 0;
  long threads = 0;

  static Holdings now() {
    Holdings held;
    long pages = 0;
    long resident = 0;
    std::FILE* file = std::fopen("/proc/self/statm", "r");
    if (file == nullptr || std::fscanf(file, "%ld %ld", &pages, &resident) != 2) ADD_FAILURE();
    if (file != nullptr) std::fclose(file);
    held.residentMiB = static_cast<double>(resident) * 4096 / 1048576;
    using Entries = std::filesystem::directory_iterator;
    held.files = std::distance(Entries("/proc/self/fd"), Entries());
    held.threads = std::distance(Entries("/proc/self/task"), Entries());
    return held;
  }
};

TEST_F(RegistryTest, NothingIsLeftByQueriesOpeningAndClosing) {
  plug(identity::PID_T02C_A);
  plug(identity::PID_T05C);
  plug(identity::PID_T13C_C);
  ASSERT_EQ(OrvikGetNumOfConnectedCameras(), 3);
  const auto round = [&] {
    for (int index = 0; index < 3; ++index) {
      ASSERT_NE(nameOf(index), "");
      ASSERT_EQ(OrvikOpenCamera(index), Orvik_OK);
      ASSERT_EQ(OrvikCloseCamera(index), Orvik_OK);
    }
    for (ScriptedCamera& camera : cameras_) {  // the script forgets, so that it does not grow
      camera.device->requests.clear();
      camera.device->flights.clear();
      camera.conversation.take();
      ASSERT_EQ(camera.device->openPorts, 0);
    }
  };
  for (int n = 0; n < 20; ++n) round();
  const Holdings before = Holdings::now();
  for (int n = 0; n < 334 && !HasFatalFailure(); ++n) round();  // 1002 cameras
  const Holdings after = Holdings::now();
  EXPECT_LE(after.files, before.files);
  EXPECT_LE(after.threads, before.threads);
#ifndef __SANITIZE_ADDRESS__  // which keeps what was freed
  EXPECT_LT(after.residentMiB - before.residentMiB, 1.0);
#endif
  RecordProperty("GrowthMiB", std::to_string(after.residentMiB - before.residentMiB));
}

}  // namespace
}  // namespace orvik::test
