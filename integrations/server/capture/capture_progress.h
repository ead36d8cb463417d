// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>

#include "integrations/server/capture/capture_request.h"

namespace orvik::server {

/// How far the camera is with a capture, and how long the rest will take. Any thread.
class CaptureProgress {
 public:
  using Clock = std::chrono::steady_clock;
  using Seconds = CaptureRequest::Seconds;

  explicit CaptureProgress(const CaptureRequest& request) : request_(request) {}

  /// The exposure of the next image begins, or a video.
  void begin(Clock::time_point now, Seconds exposure = Seconds(0));
  /// A frame of a video has arrived.
  void frame(std::int64_t lost);
  /// An exposure that was begun has brought no image; it is begun again.
  void imageLost();

  [[nodiscard]] std::int64_t lost() const;
  /// Of the running exposure.
  [[nodiscard]] Seconds exposureLeft(Clock::time_point now) const;
  /// Until the end; empty if that is not known.
  [[nodiscard]] std::optional<Seconds> remaining(Clock::time_point now) const;

 private:
  [[nodiscard]] std::optional<Seconds> imagesRemain(Clock::time_point now) const;
  [[nodiscard]] std::optional<Seconds> videoRemains(Clock::time_point now) const;

  const CaptureRequest& request_;
  mutable std::mutex mutex_;
  std::int64_t begun_ = 0;   // exposures, or 1 for a video
  std::int64_t frames_ = 0;  // of a video
  std::int64_t lost_ = 0;
  Clock::time_point first_;  // when the first one was begun
  Clock::time_point last_;
  Seconds exposure_{0};
};

}  // namespace orvik::server
