// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>

#include "orvik/orvik.h"
#include "seam/usb_host.h"

namespace orvik {

/// Counts how often devices have been plugged or unplugged, over all hosts that the process has
/// used. Any thread.
class DeviceChanges {
 public:
  static DeviceChanges& instance();

  /// Waits until the count differs from `count`, and then stores it there.
  /// @param count the count that the program knows; 0 at the first call
  Orvik_ERROR_CODE wait(std::int32_t& count, std::chrono::milliseconds timeout);

 private:
  std::int32_t update(const std::shared_ptr<seam::Host>& host, std::uint64_t& hostCount);

  std::mutex mutex_;
  std::int32_t count_ = 0;
  std::weak_ptr<seam::Host> host_;  ///< the host that was asked last
  std::uint64_t hostCount_ = 0;     ///< its count at that time
};

}  // namespace orvik
