// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "models/models.h"
#include "support/take_image.h"
#include "support/virtual_bench.h"

namespace orvik::test {

constexpr FrameQueue::Timeout kNoTimeout = std::nullopt;

/// An exposure longer than the frame time of the whole sensor. Reads then have a timeout of the
/// exposure time plus one second, which a busy machine may need for a full image.
constexpr std::uint64_t kPatientExposureUs = 20'000;

/// A virtual T15C that looks at a grey screen, and its driver.
class CaptureTest : public ::testing::Test {
 protected:
  ~CaptureTest() override {
    camera_.reset();  // before the objects that its worker and the streaming thread call
    bench_.host().unplugAll();
  }

  void open(sim::FrameFilter filter = nullptr, sim::Pace pace = sim::Pace::kReal) {
    sim::CameraOptions options;
    options.sceneKind = sim::SceneKind::kGrey;
    options.controlObserver = observerOf(conversation_);
    options.frameFilter = std::move(filter);
    options.pace = pace;
    id_ = bench_.plug(options);
    camera_ = std::make_unique<T15C>();
    ASSERT_TRUE(camera_->open(1));
    ASSERT_TRUE(camera_->initialise());
    setRegion(320, 240, IMAGE_8BIT);
    camera_->setExposure(1000, false);
    conversation_.take();
  }

  void setRegion(int width, int height, IMAGE_TYPE type) {
    camera_->state().rawOutput = true;
    ASSERT_TRUE(camera_->setResolution(width, height, 1, type));
    image_.resize(static_cast<std::size_t>(width * height) * (type == IMAGE_RAW16 ? 2 : 1));
  }

  bool getImage(FrameQueue::Timeout timeout = std::chrono::seconds(5)) {
    return takeImage(*camera_, image_, timeout);
  }

  int dropped() {
    const auto capture = camera_->capture().current();
    return capture ? capture->lostFrames() : 0;
  }
  Orvik_EXPOSURE_STATUS status() { return camera_->capture().status(); }
  bool snapshotEnds() {
    return eventually([&] { return status() != Orvik_EXPSTATE_EXPOSING; });
  }

  Conversation conversation_;
  VirtualBench bench_;
  int id_ = 0;
  std::unique_ptr<T15C> camera_;
  std::vector<unsigned char> image_;
};

}  // namespace orvik::test
