// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>

#include "tools/orvikctl/capture/exposure_search.h"
#include "tools/orvikctl/capture/still_capture.h"

namespace orvik::ctl {

/// The longest exposure of flats unless another one is asked for.
inline constexpr std::chrono::seconds kLongestFlat{30};

/// What flats are to look like.
struct FlatTarget {
  double level = 0.5;  ///< of the median, a part of the range
  std::chrono::microseconds longest = kLongestFlat;
};

/// Gives flats the exposure at which the median of their central part is the wanted one, and
/// follows the light of dusk and dawn.
class FlatExposure {
 public:
  /// @param camera, stills exist as long as this object; images are described already
  FlatExposure(const Camera& camera, StillCapture& stills, const FlatTarget& target, bool quiet);

  /// Finds the exposure by trials.
  ///
  /// @return false when a stop was requested
  /// @throws Failure (kCameraFailed) when the light is too weak, too strong or too unsteady; Error
  bool find();
  /// Looks at the flat that was taken last, and changes the exposure of the next one if need be.
  ///
  /// @throws Failure (kCameraFailed) when the light has become too weak or too strong
  void follow();

 private:
  void require(ExposureSearch::State state, double level) const;

  StillCapture& stills_;
  ExposureSearch search_;
  ExposureSearch::Limits limits_;
  bool quiet_;
};

}  // namespace orvik::ctl
