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
  int brightness = 0;  ///< black level, in steps of the sensor
  WhiteBalance balance{};
  int startX = 0;  ///< left edge of the region, sensor pixels
  int startY = 0;  ///< top edge of the region, sensor pixels

  friend bool operator==(const FrameSettings&, const FrameSettings&) = default;
};

/// The facts about one frame. Times are those of the capture worker's clock.
struct FrameFacts {
  using Time = std::chrono::nanoseconds;

  std::uint64_t capture = 0;     ///< number of its capture, from 1 on
  std::uint64_t number = 0;      ///< within its capture, from 0 on; lost frames are counted
  std::uint32_t lostBefore = 0;  ///< frames lost since the frame that was queued before this one
  bool snapshot = false;

  // A rolling shutter exposes each row for the same time, one line time after the previous row.
  // Start and end are those of the first row.
  Time exposureStart{};
  Time exposureEnd{};
  Time firstByte{};    ///< computed: time of the last byte minus the read-out time
  Time lastByte{};     ///< when the worker found the frame to be complete
  Time uncertainty{};  ///< all four may be earlier by up to this time
  Time utcOffset{};    ///< to be added for UTC, counted from 1970

  FrameSettings settings{};
  bool isSettled = false;  ///< the settings were in effect for the whole of the exposure
  std::optional<float> temperature{};  ///< degrees Celsius, if known
};

}  // namespace orvik
