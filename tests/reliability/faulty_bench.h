// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string_view>
#include <vector>

#include "orvik/orvik.h"
#include "sim/sim_host.h"
#include "support/fault_script.h"
#include "support/time_of.h"
#include "support/virtual_bench.h"
#include "usb/current_host.h"

namespace orvik::test {

/// Virtual cameras in place of the USB bus, with a fault script between them and the driver. All
/// calls go through the flat interface.
class FaultyBench : public ::testing::Test {
 protected:
  static constexpr int kWidth = 320;  ///< a frame of this size is one read
  static constexpr int kHeight = 240;

  FaultyBench() { installHost(faults_); }
  ~FaultyBench() override {
    setFaults("");
    for (int index = 0; index < kMostCameras; ++index) OrvikCloseCamera(index);
    host_->unplugAll();
    OrvikGetNumOfConnectedCameras();
    installHost(nullptr);
  }

  void setFaults(std::string_view script) { faults_->setScript(scriptOf(script)); }
  [[nodiscard]] std::uint64_t struck(fault::Action action) const { return faults_->struck(action); }

  int plug(const char* model = "T15C", sim::Pace pace = sim::Pace::kReal) {
    sim::CameraOptions options;
    options.sceneKind = sim::SceneKind::kGrey;
    options.pace = pace;
    return host_->plug(*sim::findModel(model), options);
  }

  /// Plugs in and opens camera 0 with a small region of interest and an exposure above its frame
  /// time, so that the driver reads with a long timeout.
  /// @return the virtual camera's id.
  int openCamera(const char* model = "T15C") {
    const int id = plug(model);
    EXPECT_EQ(OrvikGetNumOfConnectedCameras(), 1);
    EXPECT_EQ(OrvikOpenCamera(0), Orvik_OK);
    setRegion(kWidth, kHeight, Orvik_IMG_RAW8);
    EXPECT_EQ(OrvikSetControlValue(0, Orvik_CTL_EXPOSURE, 20'000, Orvik_FALSE), Orvik_OK);
    return id;
  }

  void setRegion(int width, int height, IMG_TYPE type) {
    ASSERT_EQ(OrvikSetROIFormat(0, width, height, 1, type), Orvik_OK);
    image_.assign(static_cast<std::size_t>(width * height) * (type == Orvik_IMG_RAW16 ? 2 : 1), 0);
  }

  Orvik_ERROR_CODE getFrame(int waitMs = 10'000) {
    return OrvikGetVideoData(0, image_.data(), static_cast<int>(image_.size()), waitMs);
  }

  static int dropped() {
    int count = -1;
    EXPECT_EQ(OrvikGetDroppedFrames(0, &count), Orvik_OK);
    return count;
  }

  static Orvik_EXPOSURE_STATUS status() {
    Orvik_EXPOSURE_STATUS status = Orvik_EXPSTATE_NONE;
    EXPECT_EQ(OrvikGetExpStatus(0, &status), Orvik_OK);
    return status;
  }

  static constexpr int kMostCameras = 4;

  const std::shared_ptr<sim::SimHost> host_ = std::make_shared<sim::SimHost>();
  const std::shared_ptr<fault::FaultHost> faults_ = std::make_shared<fault::FaultHost>(host_);
  std::vector<unsigned char> image_;
};

}  // namespace orvik::test
