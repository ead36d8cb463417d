// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "imaging/image.h"
#include "orvik/orvik.hpp"
#include "tools/orvikctl/capture/capture_options.h"

namespace orvik::ctl {

/// Single images, of 16 bits where the camera has them, or a video, of 8 bits, unless `--type` says
/// otherwise.
enum class CaptureKind { kImages, kVideo };

/// A control that a capture changes for itself, and its value before.
struct Replaced {
  Orvik_CONTROL_TYPE type;
  ControlValue former;
};

/// Throws a Failure (kUsage) for automatic exposure or gain, which follow a video and would never
/// act on single images.
void refuseAutomatic(const CaptureOptions& options);

/// Puts the camera into the state that the options ask for.
///
/// Everything is checked before the first value is set. Controls without an option keep the values
/// that the camera was left with, or get the model's defaults with `--defaults`. Raw images are
/// those of the sensor: gamma, white balance and flip become neutral for them unless an option says
/// otherwise. Automatic exposure and gain, which follow a video only, rest for single images.
///
/// @return the controls that were changed without an option; see restore()
/// @throws Failure (kUsage) if the camera cannot do what is asked
std::vector<Replaced> applyOptions(Camera& camera, const CaptureOptions& options, CaptureKind kind);

/// Gives controls their former values again, as far as the camera still answers.
void restore(Camera& camera, const std::vector<Replaced>& replaced);

/// What the headers of the coming images say, except for what belongs to each image.
imaging::ImageInfo describeImages(const Camera& camera, const CaptureOptions& options);

/// Reads what changes from image to image: exposure, gain, sensor temperature.
void refreshReadings(const Camera& camera, imaging::ImageInfo& info);

}  // namespace orvik::ctl
