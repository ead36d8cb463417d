// SPDX-License-Identifier: MIT
#pragma once

#include "camera/camera.h"

namespace orvik {

/// Interrupts capture while it exists: a running capture is stopped, and another one of the same
/// kind is started at the end. Held by setters that change the format of the stream, with the
/// settings locked. Callers that wait for a frame go on waiting.
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
