// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <optional>

#include "imaging/stars/brightest_object.h"
#include "orvik/orvik.hpp"

namespace orvik::ctl {

/// Where a region starts, pixels after binning.
struct RegionStart {
  int x = 0;
  int y = 0;
  friend bool operator==(const RegionStart&, const RegionStart&) = default;
};

/// Decides where the region goes so that the brightest object stays in its middle.
///
/// It goes by the median of the last few places, so that a satellite or a disturbed frame moves
/// nothing, and moves only when the object has left the middle by more than an eighth of the
/// region. Steps are even, so that a colour mosaic stays as it is, and end at the edges of the
/// sensor. An object that is lost is waited for where it was.
class Tracker {
 public:
  using Place = imaging::BrightestObject::Place;

  /// @param format of the video, with the region's start
  Tracker(const Orvik_CAMERA_INFO& camera, const ImageFormat& format);

  /// Takes the next frame into account.
  ///
  /// @param place of the object in it, if it shows any
  /// @return where the region has to go now; nothing if it stays
  std::optional<RegionStart> follow(const FrameInfo& frame, const std::optional<Place>& place);

 private:
  static constexpr std::size_t kPlaces = 5;

  ImageFormat format_;
  RegionStart highest_;
  RegionStart wanted_;               // where the region is, or is going
  std::array<double, kPlaces> x_{};  // of the object on the sensor, the last places
  std::array<double, kPlaces> y_{};
  std::size_t count_ = 0;
};

}  // namespace orvik::ctl
