// SPDX-License-Identifier: MIT
#pragma once

#include "camera/camera.h"

namespace orvik {

/// While it lives, the camera does not capture: a capture that was running has ended, and another
/// of its kind begins at the end. Held by setters that change what the stream looks like, with the
/// settings locked. Who waits for a frame goes on waiting.
class Camera::CapturePause {
 public:
  explicit CapturePause(Camera& camera);
  ~CapturePause();
  CapturePause(const CapturePause&) = delete;
  CapturePause& operator=(const CapturePause&) = delete;

 private:
  Camera& camera_;
  const bool paused_;
  const bool snapshot_;
};

}  // namespace orvik
