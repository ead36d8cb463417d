// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "trace/conversation.h"

namespace orvik::trace {

/// Where a driver has departed from a recording.
class Departures {
 public:
  void add(std::string what) {
    const std::lock_guard lock(mutex_);
    list_.push_back(std::move(what));
  }
  /// One sentence each, in the order in which they came.
  [[nodiscard]] std::vector<std::string> list() const {
    const std::lock_guard lock(mutex_);
    return list_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> list_;
};

/// A host that plays a recording to a driver, at the driver's own pace.
///
/// Devices are opened in the order of the recording. A control transfer is answered as the next
/// recorded one with the same setup and the same data to the device; those that a driver's threads
/// may exchange are found a little further on. Where there is none, the driver has departed: the
/// transfer stalls. Bulk reads get what was recorded, in order; of a recording that kept only the
/// ends of a read, the middle is 0. After the last one reads are not answered any more. Any thread.
class ReplayHost final : public seam::Host {
 public:
  explicit ReplayHost(Conversation conversation);
  ~ReplayHost() override;

  /// What the driver did otherwise so far; requests that it left out count once its device is
  /// closed.
  [[nodiscard]] std::vector<std::string> departures() const { return departures_->list(); }

  std::vector<seam::DeviceInfo> devices() override;
  std::unique_ptr<seam::Port> open(const seam::DeviceInfo& device) override;

 private:
  const std::vector<seam::DeviceInfo> devices_;
  const std::shared_ptr<Departures> departures_ = std::make_shared<Departures>();
  std::mutex mutex_;
  std::vector<Opening> ahead_;  ///< openings that are still to come
};

}  // namespace orvik::trace
