// SPDX-License-Identifier: MIT
#include "tools/orvikctl/recording/tracker.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace orvik::ctl {
namespace {

constexpr double kTolerance = 1.0 / 8;  // of the region's size

template <std::size_t N>
double median(std::array<double, N> values) {
  std::nth_element(values.begin(), values.begin() + N / 2, values.end());
  return values[N / 2];
}

/// The start that puts the object into the middle, as far as the sensor goes.
int startFor(double object, int size, int present, int highest) {
  const int steps = static_cast<int>(std::lround((object - size / 2.0 - present) / 2));
  const int parity = present % 2;
  const int last = highest - std::abs(highest - parity) % 2;
  return std::clamp(present + 2 * steps, parity, std::max(parity, last));
}

}  // namespace

Tracker::Tracker(const Orvik_CAMERA_INFO& camera, const ImageFormat& format)
    : format_(format),
      highest_{camera.maxWidth / format.bin - format.width,
               camera.maxHeight / format.bin - format.height},
      wanted_{format.startX, format.startY} {}

std::optional<RegionStart> Tracker::follow(const FrameInfo& frame,
                                           const std::optional<Place>& place) {
  // A frame during which the region moved may show a part of either.
  if (!place || frame.settled != Orvik_TRUE) return std::nullopt;
  // Mirrored images count from the other edge.
  const bool isMirrored = (frame.flip & 1) != 0;
  const bool isUpsideDown = (frame.flip & 2) != 0;
  const double inX = isMirrored ? frame.width - place->x : place->x;
  const double inY = isUpsideDown ? frame.height - place->y : place->y;
  x_[count_ % kPlaces] = frame.startX / static_cast<double>(frame.bin) + inX;
  y_[count_ % kPlaces] = frame.startY / static_cast<double>(frame.bin) + inY;
  if (++count_ < kPlaces) return std::nullopt;
  const double x = median(x_);
  const double y = median(y_);
  const double offX = std::abs(x - format_.width / 2.0 - wanted_.x);
  const double offY = std::abs(y - format_.height / 2.0 - wanted_.y);
  if (offX < kTolerance * format_.width && offY < kTolerance * format_.height) {
    return std::nullopt;
  }
  const RegionStart next{startFor(x, format_.width, wanted_.x, highest_.x),
                         startFor(y, format_.height, wanted_.y, highest_.y)};
  if (next == wanted_) return std::nullopt;  // at the edge of the sensor
  wanted_ = next;
  return next;
}

}  // namespace orvik::ctl
