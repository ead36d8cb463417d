// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "integrations/server/camera/change_signal.h"
#include "integrations/server/camera/status.h"

namespace orvik::server {

/// Where a camera's status is read, and who is told of its changes. Any thread.
class StatusBoard {
 public:
  StatusBoard() : status_(std::make_shared<CameraStatus>()) {}

  [[nodiscard]] std::shared_ptr<const CameraStatus> status() const;
  /// Changes the status. The change must not call functions of the board.
  void change(const std::function<void(CameraStatus&)>& change);
  /// Adds an event.
  void note(std::string who, std::string text);
  /// As ServedCamera::onChange().
  [[nodiscard]] std::shared_ptr<void> onChange(std::function<void()> function) {
    return changed_.connect(std::move(function));
  }

 private:
  mutable std::mutex mutex_;
  std::shared_ptr<const CameraStatus> status_;
  std::uint64_t events_ = 0;
  ChangeSignal changed_;
};

}  // namespace orvik::server
