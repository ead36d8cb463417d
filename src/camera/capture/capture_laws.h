// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "camera/capture/frame_protocol.h"

namespace orvik {

/// The rules of capture as functions without a device.

/// How long one transfer of a frame may take, in milliseconds.
/// @param exposureUs, frameTimeUs exposure and time of one frame, microseconds
/// @param patience of the protocol, for exposures shorter than the frame
std::uint64_t transferWaitMs(std::uint64_t exposureUs, double frameTimeUs, ReadPatience patience);

/// Time of one frame in microseconds: a frame lasts 18 lines longer than its rows.
/// @param lineLength clock cycles
double frameTimeUs(int rows, int lineLength, int clockKhz);

/// Whether a snapshot has failed for good: its bad frames are worth more than a second of exposure.
bool snapshotHasFailed(std::uint32_t badFrames, std::uint64_t exposureUs);

/// Decides when a link that loses frames should be asked for less.
///
/// Two groups of three bad frames within five seconds, in the first twenty seconds after automatic
/// bandwidth was switched on, lower the bandwidth by one step.
class BandwidthFallback {
 public:
  using Time = std::chrono::nanoseconds;

  /// @param start when automatic bandwidth was switched on, on any clock
  explicit BandwidthFallback(Time start) : start_(start) {}

  /// Tells of a bad frame.
  /// @param automatic whether the bandwidth is on automatic
  /// @param badFrames bad frames so far; set to 0 when they make up a group
  /// @return true when the bandwidth should be lowered now.
  bool onBadFrame(Time now, bool automatic, std::uint32_t& badFrames);

 private:
  Time start_;
  std::optional<Time> lastGroup_;
};

/// By how much the fallback lowers the bandwidth, percent.
inline constexpr int kBandwidthStep = 4;

}  // namespace orvik
