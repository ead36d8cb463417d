// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>

#include "tools/orvikctl/camera.h"
#include "tools/orvikctl/capture_options.h"
#include "tools/orvikctl/output/image.h"

namespace orvik::ctl {

/// What `snap` and `video` take when no `--type` is given.
enum class Preference { kDepth, kSpeed };

/// Puts the camera into the state that the options ask for.
///
/// Everything is checked before the first value is set.
///
/// @return the format that the camera has taken; its start may differ from the one asked for
/// @throws Failure (kUsage) if the camera cannot do what is asked
ImageFormat applyOptions(Camera& camera, const CaptureOptions& options, Preference preference);

/// What the headers of the coming images say, except for the start of each exposure.
ImageInfo describeImages(const Camera& camera, const CaptureOptions& options);

/// Reads what changes from image to image: exposure, gain, sensor temperature.
void refreshReadings(const Camera& camera, ImageInfo& info);

/// How long reading an image out may take beyond its exposure, on a slow bus with retries.
std::chrono::milliseconds readOutLimit(const ImageFormat& format);

}  // namespace orvik::ctl
