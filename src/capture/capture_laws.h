// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "capture/frame_protocol.h"

namespace orvik {

/// The rules of capture, as functions without a device.

/// How long one transfer of a frame may take, in milliseconds.
/// @param exposureUs, frameTimeUs exposure and time of one frame, microseconds
/// @param timeoutLaw of the protocol, for exposures shorter than the frame
std::uint64_t readTimeoutMs(std::uint64_t exposureUs, double frameTimeUs, TimeoutLaw timeoutLaw);

/// Whether a snapshot has failed: its bad frames amount to more than a second of exposure. While
/// automatic bandwidth searches for a rate that the link can sustain, the bad frames that it has
/// counted as a group do not count here (see BandwidthFallback).
bool snapshotHasFailed(std::uint32_t badFrames, std::uint64_t exposureUs);

/// Decides when the bandwidth of a link that loses frames should be lowered.
///
/// Two groups of three bad frames within five seconds lower the bandwidth by one step. This applies
/// to the first twenty seconds of a capture, or after automatic bandwidth was switched on during
/// the capture: each start, and each switching on, tests the link again.
class BandwidthFallback {
 public:
  using Time = std::chrono::nanoseconds;

  /// @param start of the capture, on any clock
  explicit BandwidthFallback(Time start) : start_(start) {}

  /// Reports a bad frame.
  /// @param automatic whether the bandwidth is automatic
  /// @param since when it was switched to automatic
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
