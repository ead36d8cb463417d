// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "integrations/server/camera/served_camera.h"

namespace orvik::server {

/// What browsers have done to a camera, as events for all. Any thread.
class Notes {
 public:
  using Clock = std::chrono::steady_clock;

  explicit Notes(std::shared_ptr<ServedCamera> camera) : camera_(std::move(camera)) {}

  void add(const std::string& who, std::string text) { camera_->note(who, std::move(text)); }
  /// Adds what somebody has set once it has not been set again for a moment: a slider that is
  /// dragged becomes one event.
  void addSoon(const std::string& who, const std::string& subject, std::string text);
  /// Adds what is due.
  /// @param all also what may still be set again
  void flush(Clock::time_point now, bool all);

 private:
  struct Note {
    std::string who;
    std::string subject;
    std::string text;
    Clock::time_point time;
  };

  const std::shared_ptr<ServedCamera> camera_;
  std::mutex mutex_;
  std::vector<Note> notes_;
};

}  // namespace orvik::server
