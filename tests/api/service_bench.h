// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "orvik/orvik_service.h"
#include "support/host_decorator.h"
#include "support/scratch_folder.h"
#include "support/virtual_bench.h"

namespace orvik::test {

/// A virtual T15C behind the flat functions, on a bus where requests can fail.
class ServiceBench : public ::testing::Test {
 protected:
  ServiceBench() {
    sim::CameraOptions options;
    options.sceneKind = sim::SceneKind::kDark;
    options.pace = sim::Pace::kFree;
    options.controlObserver = observerOf(conversation_);
    id_ = bench_.plug(options);
    installHost(std::make_shared<TroubledHost>(bench_.sharedHost(), trouble_));
    EXPECT_EQ(OrvikGetNumOfConnectedCameras(), 1);
  }
  ~ServiceBench() override {
    trouble_->failingControl = 0;
    OrvikCloseCamera(0);
    bench_.host().unplugAll();
    OrvikGetNumOfConnectedCameras();
  }

  void open() {
    ASSERT_EQ(OrvikOpenCamera(0), Orvik_OK);
    conversation_.take();
  }
  void reopen() {
    ASSERT_EQ(OrvikCloseCamera(0), Orvik_OK);
    open();
  }

  ScratchFolder folder_;
  Conversation conversation_;
  std::shared_ptr<Trouble> trouble_ = std::make_shared<Trouble>();
  VirtualBench bench_;
  int id_ = 0;
};

}  // namespace orvik::test
