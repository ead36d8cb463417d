// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "algorithm/white_balance.h"

namespace orvik {

/// The settings that a frame is exposed with.
struct FrameSettings {
  std::uint64_t exposureUs = 0;
  int gain = 0;
  int brightness = 0;  ///< black level, sensor's steps
  WhiteBalance balance{};
  int startX = 0;  ///< left edge of the region, sensor pixels
  int startY = 0;  ///< top edge of the region, sensor pixels

  friend bool operator==(const FrameSettings&, const FrameSettings&) = default;
};

/// What is known of one frame. Times are those of the capture worker's clock.
struct FrameFacts {
  using Time = std::chrono::nanoseconds;

  std::uint64_t capture = 0;     ///< number of its capture, from 1 on
  std::uint64_t number = 0;      ///< within its capture, from 0 on; lost frames are counted
  std::uint32_t lostBefore = 0;  ///< frames lost since the frame that was queued before this one
  bool snapshot = false;

  // A rolling shutter exposes each row as long as the first one, and a line time later. Start and
  // end are those of the first row.
  Time exposureStart{};
  Time exposureEnd{};
  Time firstByte{};    ///< computed: the last byte's time less the time of the read-out
  Time lastByte{};     ///< when the worker found the frame complete
  Time uncertainty{};  ///< all four may be earlier by so much
  Time utcOffset{};    ///< to be added for UTC, counted from 1970

  FrameSettings settings{};
  bool isSettled = false;  ///< the settings were in effect for the whole of the exposure
  std::optional<float> temperature{};  ///< degrees Celsius; none where it is not known
};

}  // namespace orvik
