// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "firmware/images.h"
#include "models/models.h"
#include "sim/manual_clock.h"
#include "support/fault_script.h"
#include "support/virtual_bench.h"

namespace orvik::test {

/// An open T15C on a bus on which control transfers can be made to fail, with a log of its
/// requests: "A0 1000/0001 2048" out, "RA0 1000/0001 2048" in: request, value/index, bytes moved.
/// @tparam Model T15C, or the published class
template <class Model>
class BasicFirmwareBench {
 public:
  BasicFirmwareBench() {
    sim::CameraOptions options;
    options.controlObserver = [this](const sim::ControlRecord& record) {
      add(record);
      if (afterRequest) afterRequest(record);
    };
    bench_.plug(options);
    installHost(faults_);
    camera_ = std::make_unique<Model>();
    if constexpr (std::is_same_v<Model, T15C>) {
      camera_->open(1);
    } else {
      camera_->OpenCamera(1);
    }
    take();
  }

  Model& camera() { return *camera_; }
  /// Makes the k-th request from now on fail; 0 for none.
  void failRequest(int k) { failControl(*faults_, k); }
  /// @param script in the language of docs/faults.md; "" for no faults
  void disturb(std::string_view script) { faults_->setScript(scriptOf(script)); }
  ManualClock& clock() { return *clock_; }
  std::vector<std::string> take() { return std::exchange(log_, {}); }

  std::function<void(const sim::ControlRecord&)> afterRequest;

 private:
  void add(const sim::ControlRecord& record) {
    const seam::SetupPacket& setup = record.setup;
    if ((setup.requestType & 0x60U) != 0x40U) return;
    char line[64];
    static_cast<void>(std::snprintf(
        line, sizeof line, "%s%02X %04X/%04X %zu", (setup.requestType & 0x80U) != 0 ? "R" : "",
        unsigned{setup.request}, unsigned{setup.value}, unsigned{setup.index}, record.data.size()));
    log_.emplace_back(line);
  }

  std::shared_ptr<ManualClock> clock_ = std::make_shared<ManualClock>();
  std::vector<std::string> log_;
  VirtualBench bench_{clock_};
  std::shared_ptr<fault::FaultHost> faults_ =
      std::make_shared<fault::FaultHost>(bench_.sharedHost());
  std::unique_ptr<Model> camera_;
};

using FirmwareBench = BasicFirmwareBench<T15C>;

/// Retries `attempt` a few times, as a user would.
inline bool withPatience(const std::function<bool()>& attempt) {
  for (int n = 0; n < 5; ++n) {
    if (attempt()) return true;
  }
  return false;
}

}  // namespace orvik::test
