// SPDX-License-Identifier: MIT
// Compares the data rate of a camera at a given bandwidth with the capacity of its link.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "models/models.h"
#include "support/take_image.h"
#include "support/virtual_bench.h"

namespace orvik::test {
namespace {

class LinkRate : public ::testing::Test {
 protected:
  /// Plugs in the camera and starts a video of its whole sensor.
  void start(const sim::CameraOptions& options, int percent, bool automatic) {
    id_ = bench_.plug(options);
    ASSERT_TRUE(camera_.open(1) && camera_.initialise());
    ASSERT_TRUE(camera_.setResolution(1304, 976, 1, IMAGE_8BIT));
    camera_.setBandwidth(percent, automatic);
    ASSERT_TRUE(camera_.startCapture(false));
  }

  bool takeImages(int count) {
    std::vector<unsigned char> image(1304 * 976 * 3);
    int taken = 0;
    while (taken < count && takeImage(camera_, image)) ++taken;
    return taken == count;
  }

  std::uint64_t lost() { return bench_.host().bytesLostOnLink(id_); }

  static sim::CameraOptions usb2() {
    sim::CameraOptions options;
    options.sceneKind = sim::SceneKind::kDark;
    options.usb3Port = false;
    return options;
  }

  VirtualBench bench_;
  T15C camera_;
  int id_ = 0;
};

TEST_F(LinkRate, TheFullBandwidthIsMoreThanUsb2CarriesAndItsDefaultIsNot) {
  start(usb2(), 80, false);
  EXPECT_TRUE(takeImages(15));
  EXPECT_EQ(lost(), 0U);
  camera_.setBandwidth(100, false);
  EXPECT_TRUE(eventually([&] { return lost() > 0; }));
  EXPECT_TRUE(eventually([&] { return camera_.capture().current()->lostFrames() > 0; }));
  camera_.setBandwidth(80, false);
  EXPECT_TRUE(takeImages(5)) << "what comes through is delivered";
}

TEST_F(LinkRate, Usb3CarriesTheFullBandwidth) {
  sim::CameraOptions options = usb2();
  options.usb3Port = true;
  start(options, 100, false);
  camera_.setHighSpeedMode(true);
  EXPECT_TRUE(takeImages(30));
  EXPECT_EQ(lost(), 0U);
}

TEST_F(LinkRate, AutomaticBandwidthFindsWhatAPoorCableCarries) {
  sim::CameraOptions options = usb2();
  options.link = {.rate = sim::LinkOptions::Rate::kOfCable, .bytesPerSecond = 30e6};
  start(options, 80, true);
  EXPECT_TRUE(eventually([&] { return camera_.state().bandwidth <= 68; }))
      << "30 MB/s are 69 percent of what USB 2 is counted for";
  EXPECT_TRUE(takeImages(5));
  const std::uint64_t before = lost();
  EXPECT_TRUE(takeImages(15));
  EXPECT_EQ(lost(), before);
}

}  // namespace
}  // namespace orvik::test
