// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "orvik/orvik_service.h"
#include "support/fault_script.h"
#include "support/scratch_folder.h"
#include "support/virtual_bench.h"

namespace orvik::test {

/// A virtual T15C behind the flat functions, on a bus on which requests can be made to fail.
class ServiceBench : public ::testing::Test {
 protected:
  ServiceBench() {
    sim::CameraOptions options;
    options.sceneKind = sim::SceneKind::kDark;
    options.pace = sim::Pace::kFree;
    options.controlObserver = observerOf(conversation_);
    id_ = bench_.plug(options);
    installHost(faults_);
    EXPECT_EQ(OrvikGetNumOfConnectedCameras(), 1);
  }
  ~ServiceBench() override {
    failRequest(0);
    OrvikCloseCamera(0);
    bench_.host().unplugAll();
    OrvikGetNumOfConnectedCameras();
  }

  /// Makes the k-th request from now on fail; 0 for none.
  void failRequest(int k) { failControl(*faults_, k); }
  /// @param script in the language of docs/faults.md; "" for no faults
  void disturb(std::string_view script) { faults_->setScript(scriptOf(script)); }

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
  VirtualBench bench_;
  std::shared_ptr<fault::FaultHost> faults_ =
      std::make_shared<fault::FaultHost>(bench_.sharedHost());
  int id_ = 0;
};

}  // namespace orvik::test
