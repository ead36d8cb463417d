// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <functional>
#include <mutex>
#include <stop_token>

#include "imaging/worker.h"
#include "integrations/server/camera/failure.h"
#include "orvik/orvik.hpp"

namespace orvik::server {

/// The four guide lines of a camera, each with a thread of its own. Any thread may call the
/// functions; none of them waits.
class GuidePort {
 public:
  /// How long a line that is held stays on without another call.
  static constexpr std::chrono::seconds kHold{1};

  /// @param changed is called when a job on a line has ended, on the line's thread
  GuidePort(Camera& camera, std::function<void()> changed);
  /// Switches all lines off.
  ~GuidePort();
  GuidePort(const GuidePort&) = delete;
  GuidePort& operator=(const GuidePort&) = delete;

  void pulse(GuideD line, std::chrono::milliseconds length, Done done);
  void hold(GuideD line);
  void release(GuideD line);
  /// Which lines are on, or about to be switched on.
  [[nodiscard]] std::array<bool, 4> linesOn() const;

 private:
  using Clock = std::chrono::steady_clock;

  struct Line {
    int jobs = 0;             ///< pulses that run or wait
    bool isHeld = false;      ///< whether the last job is one of hold()
    Clock::time_point until;  ///< when a line that is held goes off
    std::stop_source stop;    ///< of the last job
  };

  /// Adds a job for the line, in the place of the one that runs.
  void begin(GuideD line, bool isHeld, std::function<void(const std::stop_token&)> job, Done done);
  void keepOn(GuideD line, const std::stop_token& stop);

  Camera& camera_;
  std::function<void()> changed_;
  mutable std::mutex mutex_;
  std::array<Line, 4> lines_;
  std::array<imaging::Worker, 4> workers_;  // last: their jobs use the rest
};

}  // namespace orvik::server
