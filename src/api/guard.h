// SPDX-License-Identifier: MIT
#pragma once

#include "api/registry.h"
#include "base/guarded.h"
#include "orvik/orvik.h"

namespace orvik::api {

using orvik::guarded;

/// Runs `body(camera)` for the open camera `index`, or returns the code for a bad index or a camera
/// that is not open.
/// @param onException code for a failure for which the function has no other code
template <class Body>
Orvik_ERROR_CODE withCamera(int index, Orvik_ERROR_CODE onException, Body body) noexcept {
  return guarded(onException, [&] {
    Orvik_ERROR_CODE error = Orvik_OK;
    const auto camera = Registry::instance().find(index, error);
    return camera ? body(*camera) : error;
  });
}

/// The code that a setter returns: `whenGone` if the camera turned out to be unplugged, even if the
/// setter ignored the requests that failed.
inline Orvik_ERROR_CODE unlessGone(const OpenCamera& camera, Orvik_ERROR_CODE result,
                                   Orvik_ERROR_CODE whenGone) {
  return result == Orvik_OK && camera.driver->isUnplugged() ? whenGone : result;
}

/// The code of a function that is not allowed during capture: Orvik_OK if no capture runs.
inline Orvik_ERROR_CODE captureCode(const CaptureSession& session) {
  const auto capture = session.current();
  if (!capture || !capture->isRunning()) return Orvik_OK;
  return capture->isSnapshot() ? Orvik_ERROR_EXPOSING : Orvik_ERROR_VIDEO_RUNNING;
}

}  // namespace orvik::api
