// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>

#include "base/current_clock.h"
#include "sim/sim_host.h"
#include "support/conversation.h"
#include "support/eventually.h"
#include "usb/current_host.h"

namespace orvik::test {

/// Virtual cameras in place of the USB bus during the lifetime of this object. With a test's own
/// clock the links take no time, because only the test moves that clock.
class VirtualBench {
 public:
  explicit VirtualBench(std::shared_ptr<seam::Clock> clock = std::make_shared<seam::SteadyClock>())
      : ownClock_(dynamic_cast<seam::SteadyClock*>(clock.get()) == nullptr),
        host_(std::make_shared<sim::SimHost>(clock)) {
    installHost(host_);
    installClock(clock);
  }
  ~VirtualBench() {
    installHost(nullptr);
    installClock(nullptr);
  }
  VirtualBench(const VirtualBench&) = delete;
  VirtualBench& operator=(const VirtualBench&) = delete;

  sim::SimHost& host() { return *host_; }
  std::shared_ptr<sim::SimHost> sharedHost() { return host_; }

  int plug(sim::CameraOptions options = {}, const char* model = "T15C") {
    if (ownClock_) options.link = sim::LinkOptions::ideal();
    return host_->plug(*sim::findModel(model), options);
  }

 private:
  const bool ownClock_;
  std::shared_ptr<sim::SimHost> host_;
};

/// Returns an observer that logs the requests received by a virtual camera.
inline sim::ControlObserver observerOf(Conversation& conversation) {
  return [&conversation](const sim::ControlRecord& record) { conversation.add(record.setup); };
}

}  // namespace orvik::test
