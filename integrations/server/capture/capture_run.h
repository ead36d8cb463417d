// SPDX-License-Identifier: MIT
// What the camera does during a capture: images one by one, or video.
#pragma once

#include <functional>
#include <stop_token>
#include <string>

#include "integrations/server/camera/failure.h"
#include "integrations/server/camera/served_camera.h"
#include "integrations/server/capture/capture_progress.h"
#include "integrations/server/capture/capture_request.h"
#include "integrations/server/capture/frame_writer.h"

namespace orvik::server {

/// What a run works with. All of it outlives the run.
struct CaptureRun {
  const CaptureRequest& request;
  CaptureContext& context;
  FrameWriter& writer;
  CaptureProgress& progress;
  std::stop_token stop;
  std::function<void()> changed;          ///< told a few times a second
  std::function<void(std::string)> note;  ///< told what everybody should see
};

/// Sets what the page has set, and the exposure time that the request has, if it has one.
///
/// @throws Error, and FailureException if the camera has no such exposure
void applySettings(const CaptureRequest& request, CaptureContext& context);

/// Takes the images of a request. Returns when all are on their way to the files, or at a stop.
/// An image that fails is taken again, up to twice.
///
/// @throws Error if the camera fails
void takeImages(const CaptureRun& run);

/// The same of a video.
void recordVideo(const CaptureRun& run);

}  // namespace orvik::server
