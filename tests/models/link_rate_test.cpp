// SPDX-License-Identifier: MIT
// What a camera sends at a bandwidth, and what its link carries.
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "models/models.h"
#include "support/virtual_bench.h"

namespace orvik::test {
namespace {

class LinkRate : public ::testing::Test {
 protected:
  struct Camera {
    int id;
    std::unique_ptr<CCameraT15C> driver;
  };

  ~LinkRate() override {
    for (const Camera& camera : cameras_) camera.driver->CloseCamera();
  }

  /// Plugs a camera and starts a video of its whole sensor.
  Camera& start(const sim::CameraOptions& options, int percent, bool automatic) {
    const int id = bench_.plug(options);
    cameras_.push_back({id, std::make_unique<CCameraT15C>()});
    CCameraT15C& driver = *cameras_.back().driver;
    EXPECT_TRUE(driver.OpenCamera(static_cast<int>(cameras_.size())) && driver.InitCamera());
    EXPECT_TRUE(driver.SetResolution(1304, 976, 1, IMAGE_8BIT));
    driver.SetFPSPerc(percent, automatic);
    EXPECT_TRUE(driver.StartCapture(false));
    return cameras_.back();
  }

  bool takeImages(CCameraT15C& driver, int count) {
    std::vector<unsigned char> image(1304 * 976 * 3);
    int taken = 0;
    while (taken < count && driver.GetImage(image.data(), static_cast<int>(image.size()), 20'000)) {
      ++taken;
    }
    return taken == count;
  }

  std::uint64_t lost(const Camera& camera) { return bench_.host().bytesLostOnLink(camera.id); }

  static sim::CameraOptions usb2() {
    sim::CameraOptions options;
    options.sceneKind = sim::SceneKind::kDark;
    options.usb3Port = false;
    return options;
  }

  VirtualBench bench_;
  std::vector<Camera> cameras_;
};

TEST_F(LinkRate, TheFullBandwidthIsMoreThanUsb2CarriesAndItsDefaultIsNot) {
  Camera& camera = start(usb2(), 80, false);
  EXPECT_TRUE(takeImages(*camera.driver, 15));
  EXPECT_EQ(lost(camera), 0U);
  camera.driver->SetFPSPerc(100, false);
  EXPECT_TRUE(eventually([&] { return lost(camera) > 0; }));
  EXPECT_TRUE(eventually([&] { return camera.driver->capture().current()->lostFrames() > 0; }));
  camera.driver->SetFPSPerc(80, false);
  EXPECT_TRUE(takeImages(*camera.driver, 5)) << "what comes through is delivered";
}

TEST_F(LinkRate, Usb3CarriesTheFullBandwidth) {
  sim::CameraOptions options = usb2();
  options.usb3Port = true;
  Camera& camera = start(options, 100, false);
  camera.driver->SetHighSpeedMode(true);
  EXPECT_TRUE(takeImages(*camera.driver, 30));
  EXPECT_EQ(lost(camera), 0U);
}

TEST_F(LinkRate, AutomaticBandwidthFindsWhatAPoorCableCarries) {
  sim::CameraOptions options = usb2();
  options.link = {.rate = sim::LinkOptions::Rate::kOfCable, .bytesPerSecond = 30e6};
  Camera& camera = start(options, 80, true);
  EXPECT_TRUE(eventually([&] { return camera.driver->state().bandwidth <= 68; }))
      << "30 MB/s are 69 percent of what USB 2 is counted for";
  EXPECT_TRUE(takeImages(*camera.driver, 5));
  const std::uint64_t before = lost(camera);
  EXPECT_TRUE(takeImages(*camera.driver, 15));
  EXPECT_EQ(lost(camera), before);
}

TEST_F(LinkRate, TwoCamerasShareABus) {
  start(usb2(), 80, false);
  EXPECT_TRUE(takeImages(*cameras_.front().driver, 5));
  EXPECT_EQ(lost(cameras_.front()), 0U);
  start(usb2(), 80, false);
  EXPECT_TRUE(eventually([&] { return lost(cameras_.front()) > 0; }));
  cameras_.front().driver->StopCapture();
  EXPECT_TRUE(takeImages(*cameras_.back().driver, 5));
  const std::uint64_t before = lost(cameras_.back());
  EXPECT_TRUE(takeImages(*cameras_.back().driver, 10));
  EXPECT_EQ(lost(cameras_.back()), before);
}

}  // namespace
}  // namespace orvik::test
