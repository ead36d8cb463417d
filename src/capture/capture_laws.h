// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "capture/frame_protocol.h"

namespace orvik {

/// The rules of capture as functions without a device.

/// How long one transfer of a frame may take, in milliseconds.
/// @param exposureUs, frameTimeUs exposure and time of one frame, microseconds
/// @param timeoutLaw of the protocol, for exposures shorter than the frame
std::uint64_t readTimeoutMs(std::uint64_t exposureUs, double frameTimeUs, TimeoutLaw timeoutLaw);

/// Whether a snapshot has failed for good: its bad frames are worth more than a second of exposure.
/// While automatic bandwidth looks for a pace that the link can keep, the bad frames that it has
/// drawn its conclusions from do not count (BandwidthFallback): such a snapshot fails after its
/// twenty seconds at the earliest.
bool snapshotHasFailed(std::uint32_t badFrames, std::uint64_t exposureUs);

/// Decides when a link that loses frames should be asked for less.
///
/// Two groups of three bad frames within five seconds lower the bandwidth by one step, during the
/// first twenty seconds of a capture, or after automatic bandwidth was switched on during it: each
/// capture, and each time that it is switched on, is a new look at the link.
class BandwidthFallback {
 public:
  using Time = std::chrono::nanoseconds;

  /// @param start of the capture, on any clock
  explicit BandwidthFallback(Time start) : start_(start) {}

  /// Tells of a bad frame.
  /// @param automatic whether the bandwidth is on automatic, and @param since since when
  /// @param badFrames bad frames so far; set to 0 when they make up a group
  /// @return true when the bandwidth should be lowered now.
  bool onBadFrame(Time now, bool automatic, Time since, std::uint32_t& badFrames);

 private:
  Time start_;
  std::optional<Time> lastGroup_;
};

/// By how much the fallback lowers the bandwidth, percent.
inline constexpr int kBandwidthStep = 4;

}  // namespace orvik
