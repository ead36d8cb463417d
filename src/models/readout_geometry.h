// SPDX-License-Identifier: MIT
#pragma once

#include "state/camera_state.h"
#include "state/model_row.h"

namespace orvik {

/// The positions that a region can have on the sensor. Pure functions.

/// Whether the model can deliver such an image: the bin factor and image type are offered, the
/// width is a multiple of 4, the height even, and the region fits on the sensor.
/// @param width, height pixels after binning
bool canDeliver(const ModelRow& model, int width, int height, int bin, IMAGE_TYPE type);

/// A position on the sensor, in sensor pixels.
struct SensorPosition {
  int x = 0;
  int y = 0;
  friend bool operator==(const SensorPosition&, const SensorPosition&) = default;
};

/// The position of a region in the middle of the sensor, before rounding.
SensorPosition centred(const ModelRow& model, int width, int height, int bin);

/// The nearest position that the sensor can read: columns are rounded down to a multiple of 4, rows
/// to a multiple of 2 (so that the mosaic keeps its phase), and the region is moved back if it
/// reaches beyond the last pixel of the sensor.
SensorPosition readablePosition(const ModelRow& model, SensorPosition wanted, int width, int height,
                                int bin);

}  // namespace orvik
