// SPDX-License-Identifier: MIT
#include "integrations/server/camera/cooler_lead.h"

#include "server/camera/camera_bench.h"

namespace orvik::server::test {
namespace {

class CoolerTest : public CameraBench {
 protected:
  std::shared_ptr<ServedCamera> cooled() {
    plug("T10C_C", "ambient=15");
    return opened();
  }
};

TEST_F(CoolerTest, ARampLeadsThereAndBackAndThenSwitchesOff) {
  const auto camera = cooled();
  EXPECT_FALSE(camera->status()->cooling->isOn);
  EXPECT_EQ(told([&](Done done) { camera->coolTo(5, 120, done); }), "");
  const auto begun = *camera->status()->cooling;
  EXPECT_TRUE(begun.isOn);
  EXPECT_EQ(begun.rampEnd, 5);
  EXPECT_GT(begun.target, 5);  // on its way
  EXPECT_TRUE(eventually([&] { return camera->status()->cooling->target == 5; }));
  EXPECT_TRUE(eventually([&] { return camera->temperatures().size() > 1; }));
  EXPECT_TRUE(camera->temperatures().back().target.has_value());

  EXPECT_EQ(told([&](Done done) { camera->warmUp(120, done); }), "");
  EXPECT_TRUE(eventually([&] { return !camera->status()->cooling->isOn; }));
  EXPECT_FALSE(camera->status()->cooling->isWarmingUp);
}

TEST_F(CoolerTest, SettingItAtOnceEndsARamp) {
  const auto camera = cooled();
  EXPECT_EQ(told([&](Done done) { camera->coolTo(-10, 1, done); }), "");
  EXPECT_EQ(told([&](Done done) { camera->setCooler(std::nullopt, 3, done); }), "");
  EXPECT_EQ(camera->status()->cooling->rampEnd, std::nullopt);
  EXPECT_EQ(camera->status()->cooling->target, 3);
  EXPECT_TRUE(camera->status()->cooling->isOn);
  EXPECT_EQ(told([&](Done done) { camera->setCooler(false, std::nullopt, done); }), "");
  EXPECT_FALSE(camera->status()->cooling->isOn);
}

TEST_F(CoolerTest, WhatItDoesNotTakeChangesNothing) {
  const auto camera = cooled();
  for (const int target : {-200, 200}) {
    EXPECT_NE(told([&](Done done) { camera->coolTo(target, 3, done); }), "");
    EXPECT_NE(told([&](Done done) { camera->setCooler(true, target, done); }), "");
  }
  EXPECT_NE(told([&](Done done) { camera->coolTo(0, 0, done); }), "");
  EXPECT_FALSE(camera->status()->cooling->isOn);
}

TEST_F(CoolerTest, ACoolerKeepsTheCameraOpenWithoutUsers) {
  const auto camera = cooled();
  EXPECT_EQ(told([&](Done done) { camera->setCooler(true, 5, done); }), "");
  EXPECT_EQ(told([&](Done done) { camera->close(User::kPage, done); }), "");
  EXPECT_EQ(camera->status()->link, Link::kOpen);
  EXPECT_EQ(told([&](Done done) { camera->setCooler(false, std::nullopt, done); }), "");
  EXPECT_TRUE(eventually([&] { return camera->status()->link == Link::kClosed; }));
}

}  // namespace
}  // namespace orvik::server::test
