// SPDX-License-Identifier: MIT
// Tests the cameras of a process by index: their order, the effects of a property query, and that
// opening and closing cameras does not leak.
#include <gtest/gtest.h>

#include <deque>
#include <string>

#include "orvik/orvik.h"
#include "seam/identity.h"
#include "support/process.h"
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

TEST_F(RegistryTest, AtMost128Cameras) {
  for (int n = 0; n < 130; ++n) plug(identity::PID_T01C);
  EXPECT_EQ(OrvikGetNumOfConnectedCameras(), 128);
  EXPECT_EQ(nameOf(127), "Vek T01C");
  EXPECT_EQ(OrvikOpenCamera(128), Orvik_ERROR_CAMERA_INDEX);
  EXPECT_EQ(OrvikOpenCamera(127), Orvik_OK);
}

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
    for (ScriptedCamera& camera : cameras_) {  // the logs must not grow
      camera.device->requests.clear();
      camera.device->flights.clear();
      camera.conversation.take();
      ASSERT_EQ(camera.device->openPorts, 0);
    }
  };
  for (int n = 0; n < 20; ++n) round();
  const ProcessCounts before = processCounts();
  for (int n = 0; n < 334 && !HasFatalFailure(); ++n) round();  // 1002 cameras
  const ProcessCounts after = processCounts();
  EXPECT_LE(after.handles, before.handles);
  EXPECT_LE(after.threads, before.threads);
#ifndef __SANITIZE_ADDRESS__  // it retains freed memory
  EXPECT_LT(after.resident, before.resident + 1'048'576);
#endif
}

}  // namespace
}  // namespace orvik::test
