// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "camera/current_clock.h"
#include "sim/sim_host.h"
#include "usb/current_host.h"

namespace orvik::test {

/// Virtual cameras in the place of the USB bus, for the life of this object.
class VirtualBench {
 public:
  explicit VirtualBench(std::shared_ptr<seam::Clock> clock = std::make_shared<seam::SteadyClock>())
      : host_(std::make_shared<sim::SimHost>(clock)) {
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

  int plug(const sim::CameraOptions& options = {}, const char* model = "T15C") {
    return host_->plug(*sim::findModel(model), options);
  }

 private:
  std::shared_ptr<sim::SimHost> host_;
};

/// The register conversation as the camera received it, one line a request:
/// "S3009=11" a sensor register, "F13=0" an FPGA register, "B2=FF" the cooler's drive, "AA" another
/// command, "R.." anything read.
class Conversation {
 public:
  sim::ControlObserver observer() {
    return [this](const sim::ControlRecord& record) { add(record.setup); };
  }

  /// What has come since the last call.
  std::vector<std::string> take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(lines_, {});
  }

 private:
  static std::string hex(unsigned value, int digits) {
    std::string text(static_cast<std::size_t>(digits), '0');
    for (int i = digits; i-- > 0; value >>= 4U) {
      text[static_cast<std::size_t>(i)] = "0123456789ABCDEF"[value & 0xFU];
    }
    return text;
  }

  void add(const seam::SetupPacket& setup) {
    constexpr unsigned kVendorOut = 0x40;
    constexpr unsigned kVendorIn = 0xC0;
    if (setup.requestType != kVendorOut && setup.requestType != kVendorIn) return;
    std::string line;
    if (setup.request == 0xB6) {
      line.append(1, 'S').append(hex(setup.value, 4)).append(1, '=').append(hex(setup.index, 2));
    } else if (setup.request == 0xBD) {
      line.append(1, 'F').append(std::to_string(setup.value));
      line.append(1, '=').append(hex(setup.index, 2));
    } else if (setup.request == 0xB2) {
      line.append("B2=").append(hex(setup.value, 2));
    } else {
      line.append(setup.requestType == kVendorIn ? 1 : 0, 'R').append(hex(setup.request, 2));
    }
    const std::lock_guard lock(mutex_);
    lines_.push_back(std::move(line));
  }

  std::mutex mutex_;
  std::vector<std::string> lines_;
};

/// Waits until `condition` holds. @return false after `limit`.
inline bool eventually(const std::function<bool()>& condition,
                       std::chrono::milliseconds limit = std::chrono::seconds(20)) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

}  // namespace orvik::test
