// SPDX-License-Identifier: MIT
#include "api/device_changes.h"

#include <algorithm>
#include <limits>

#include "usb/current_host.h"

namespace orvik {

DeviceChanges& DeviceChanges::instance() {
  // Never destroyed: a thread of the program may still be inside a call when the program ends.
  static auto* const changes = new DeviceChanges;
  return *changes;
}

Orvik_ERROR_CODE DeviceChanges::wait(std::int32_t& count, std::chrono::milliseconds timeout) {
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + timeout;
  for (;;) {
    const auto host = currentHost();
    const auto changes = host->changes();
    if (!changes) return Orvik_ERROR_NOT_SUPPORTED;
    std::uint64_t seen = changes->now();
    const std::int32_t present = update(host, seen);
    if (present != count) {
      count = present;
      return Orvik_OK;
    }
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    if (left <= std::chrono::milliseconds(0)) return Orvik_ERROR_TIMEOUT;
    host->waitForChange(seen, left);
  }
}

/// Brings the count up to date with that of the host, which never goes down: if another thread has
/// seen a higher one already, that one is used.
std::int32_t DeviceChanges::update(const std::shared_ptr<seam::Host>& host,
                                   std::uint64_t& hostCount) {
  const std::lock_guard lock(mutex_);
  const bool sameHost = host_.lock() == host && count_ != 0;
  if (sameHost) hostCount = std::max(hostCount, hostCount_);
  if (sameHost && hostCount == hostCount_) return count_;
  host_ = host;
  hostCount_ = hostCount;
  count_ = count_ == std::numeric_limits<std::int32_t>::max() ? 1 : count_ + 1;
  return count_;
}

}  // namespace orvik
