// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "orvik/classes.h"
#include "support/virtual_bench.h"

namespace orvik::test {

/// A virtual camera, and the object of its class that a program would create.
/// @tparam Class of the camera
template <class Class>
class ClassBench {
 public:
  explicit ClassBench(const char* model, sim::CameraOptions options = {}) {
    options.controlObserver = observerOf(conversation);
    options.pace = sim::Pace::kFree;
    bench_.plug(options, model);
  }

  /// Opens and initialises the camera, and clears the record of its requests.
  void open() {
    ASSERT_TRUE(camera.OpenCamera(1));
    ASSERT_TRUE(camera.InitCamera());
    conversation.take();
  }

  /// Captures one image of the current format by video.
  std::vector<unsigned char> take(std::size_t bytes) {
    std::vector<unsigned char> image(bytes);
    EXPECT_TRUE(camera.StartCapture(false));
    EXPECT_TRUE(camera.GetImage(image.data(), static_cast<int>(bytes), 20000));
    EXPECT_TRUE(camera.StopCapture());
    return image;
  }

  Conversation conversation;

 private:
  VirtualBench bench_;

 public:
  Class camera;
};

}  // namespace orvik::test
