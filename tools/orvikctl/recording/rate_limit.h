// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "orvik/orvik.hpp"

namespace orvik::ctl {

/// What the library tells of the frame rate with the present settings, and with others. Frames per
/// second.
struct RateFacts {
  double rate = 0;                           ///< expected
  double exposureSeconds = 0;                ///< of a frame
  std::optional<double> atFullBandwidth{};   ///< nothing if the bandwidth is at its limit already
  std::optional<double> atLowerBandwidth{};  ///< at a part of the present one
  std::optional<double> atHighSpeed{};       ///< nothing if the camera has no such mode, or uses it
  bool isBandwidthAutomatic = false;
  int fullBandwidth = 100;  ///< percent
  bool isSlowPort = false;  ///< a USB 3 camera that is not at a USB 3 port
};

/// Asks the library, and for that changes bandwidth and mode for a moment: not while a video runs.
/// Automatic bandwidth begins anew. Nothing for a camera that does not answer.
std::optional<RateFacts> rateFactsOf(Camera& camera);

/// What limits the rate.
struct RateLimit {
  enum class Cause { kExposure, kReadout, kBandwidth };
  Cause cause = Cause::kReadout;
  double rate = 0;
  std::string text;  ///< a sentence that says what would be faster
};
std::optional<RateLimit> rateLimitOf(const RateFacts& facts);

/// "exposure", "readout", "bandwidth".
const char* nameOf(RateLimit::Cause cause);

}  // namespace orvik::ctl
