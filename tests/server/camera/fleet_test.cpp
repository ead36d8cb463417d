// SPDX-License-Identifier: MIT
#include "integrations/server/camera/fleet.h"

#include "integrations/server/camera/identity.h"
#include "server/camera/camera_bench.h"

namespace orvik::server::test {
namespace {

class FleetTest : public CameraBench {};

TEST_F(FleetTest, NumbersFollowTheWishAndThenTheNames) {
  plug("T15C", "serial=00000003");
  plug("T15C", "serial=00000002");
  plug("T01C", "serial=00000001");
  fleet_ = std::make_unique<Fleet>(std::vector<std::string>{"00000003"});
  std::vector<std::string> serials;
  for (const auto& one : fleet().cameras()) serials.push_back(one->identity().serial);
  EXPECT_EQ(serials, (std::vector<std::string>{"00000003", "00000001", "00000002"}));
  EXPECT_EQ(camera(2)->identity().number, 2);
  EXPECT_EQ(camera(3), nullptr);
  EXPECT_EQ(camera(-1), nullptr);
}

TEST_F(FleetTest, ACameraKeepsItsNumberWhenItComesBack) {
  const int first = plug("T15C", "serial=0000000A");
  plug("T15C", "serial=0000000B");
  const auto camera = opened();
  const CameraIdentity before = camera->identity();
  OrvikSimUnplug(first);
  ASSERT_TRUE(eventually([&] { return camera->status()->link == Link::kAbsent; }));
  EXPECT_FALSE(camera->isOpenFor(User::kPage));
  plug("T14C", "");
  ASSERT_TRUE(eventually([&] { return fleet().cameras().size() == 3; }));
  plug("T15C", "serial=0000000A");
  ASSERT_TRUE(eventually([&] { return camera->status()->link == Link::kClosed; }));
  EXPECT_EQ(camera->identity().key, before.key);
  EXPECT_NE(camera->identity().port, before.port);
  EXPECT_EQ(fleet().cameras().size(), 3U);
  opened();
}

TEST_F(FleetTest, WithoutASerialNumberOfItsOwnThePortTellsACamera) {
  Device one{.name = "Vek",
             .serial = "12",
             .port = "2-1",
             .identity = "",
             .vendorId = 0xABC,
             .productId = 1};
  Device twin = one;
  twin.port = "2-2";
  EXPECT_EQ(keyOf(one, {one}), "0abc:0001:12");
  EXPECT_NE(keyOf(one, {one, twin}), keyOf(twin, {one, twin}));
  one.serial.clear();
  EXPECT_EQ(keyOf(one, {one}), "0abc:0001:port 2-1");
}

TEST_F(FleetTest, TheEndOfTheFleetEndsWhatItsCamerasDo) {
  plug("T15C", "");
  const auto camera = opened();
  Awaited capture;
  Awaited pulse;
  ASSERT_TRUE(camera->tryCapture({"an exposure of 100 s", true,
                                  [](CaptureContext& context) {
                                    context.camera().set(control::kExposure,
                                                         std::chrono::seconds(100));
                                    snap(context.camera(), context.stop());
                                  },
                                  capture.done()}));
  camera->pulse(Orvik_GUIDE_DIR_2, std::chrono::seconds(60), pulse.done());
  fleet_.reset();
  EXPECT_NE(capture.problem(), "");
  EXPECT_EQ(pulse.problem(), "");
  EXPECT_EQ(camera->status()->link, Link::kAbsent);
  Awaited late;  // somebody who holds the camera longer
  camera->open(User::kAlpaca, late.done());
  EXPECT_NE(late.problem(), "");
}

}  // namespace
}  // namespace orvik::server::test
