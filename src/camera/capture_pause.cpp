// SPDX-License-Identifier: MIT
#include "camera/capture_pause.h"

#include <exception>

namespace orvik {

Camera::CapturePause::CapturePause(Camera& camera)
    : camera_(camera),
      paused_(camera.capture_.isRunning()),
      snapshot_(camera.capture_.lastWasSnapshot()) {
  if (paused_) camera_.capture_.suspend();
}

Camera::CapturePause::~CapturePause() {
  if (!paused_) return;
  try {
    if (camera_.beginCapture(snapshot_)) return;
  } catch (const std::exception&) {  // out of memory
  }
  camera_.capture_.cannotResume();
}

}  // namespace orvik
