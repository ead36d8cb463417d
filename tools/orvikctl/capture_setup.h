// SPDX-License-Identifier: MIT
#pragma once

#include "imaging/image.h"
#include "orvik/orvik.hpp"
#include "tools/orvikctl/capture_options.h"

namespace orvik::ctl {

/// What `snap` and `video` take when no `--type` is given.
enum class Preference { kDepth, kSpeed };

/// Puts the camera into the state that the options ask for.
///
/// Everything is checked before the first value is set.
///
/// @throws Failure (kUsage) if the camera cannot do what is asked
void applyOptions(Camera& camera, const CaptureOptions& options, Preference preference);

/// What the headers of the coming images say, except for what belongs to each image.
imaging::ImageInfo describeImages(const Camera& camera, const CaptureOptions& options);

/// Reads what changes from image to image: exposure, gain, sensor temperature.
void refreshReadings(const Camera& camera, imaging::ImageInfo& info);

}  // namespace orvik::ctl
