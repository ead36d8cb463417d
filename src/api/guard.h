// SPDX-License-Identifier: MIT
#pragma once

#include "api/registry.h"
#include "base/guarded.h"
#include "orvik/orvik.h"

namespace orvik::api {

using orvik::guarded;

/// Runs `body(camera)` for the open camera `index`, or returns the code for a bad index or a camera
/// that is not open.
/// @param onException code for a failure that the function has no code of its own for
template <class Body>
Orvik_ERROR_CODE withCamera(int index, Orvik_ERROR_CODE onException, Body body) noexcept {
  return guarded(onException, [&] {
    Orvik_ERROR_CODE error = Orvik_OK;
    const auto camera = Registry::instance().find(index, error);
    return camera ? body(*camera) : error;
  });
}

/// What a function that has set something answers: `whenGone` where the camera turned out to be
/// unplugged, whatever the setter made of the requests that failed.
inline Orvik_ERROR_CODE unlessGone(const OpenCamera& camera, Orvik_ERROR_CODE result,
                                   Orvik_ERROR_CODE whenGone) {
  return result == Orvik_OK && camera.driver->isUnplugged() ? whenGone : result;
}

/// The code for work that capture forbids, while it runs; else Orvik_OK.
inline Orvik_ERROR_CODE captureCode(const CaptureSession& session) {
  const auto capture = session.current();
  if (!capture || !capture->isRunning()) return Orvik_OK;
  return capture->isSnapshot() ? Orvik_ERROR_EXPOSING : Orvik_ERROR_VIDEO_RUNNING;
}

}  // namespace orvik::api
