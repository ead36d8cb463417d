// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>

#include "orvik/orvik.h"
#include "seam/usb_host.h"

namespace orvik {

/// Counts for programs how often devices have come or gone, over all hosts that the process has
/// used. Any thread.
class DeviceChanges {
 public:
  static DeviceChanges& instance();

  /// Waits until the count is no longer `*count`, and then stores it.
  /// @param count 0 for a program that has not asked before
  Orvik_ERROR_CODE wait(std::int32_t& count, std::chrono::milliseconds limit);

 private:
  std::int32_t update(const std::shared_ptr<seam::Host>& host, std::uint64_t& hostCount);

  std::mutex mutex_;
  std::int32_t count_ = 0;
  std::weak_ptr<seam::Host> host_;  ///< looked at last
  std::uint64_t hostCount_ = 0;     ///< its count then
};

}  // namespace orvik
