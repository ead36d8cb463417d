// SPDX-License-Identifier: MIT
#pragma once

#include <pthread.h>

#include <utility>

#include "api/registry.h"
#include "orvik/orvik.h"

namespace orvik::api {

/// Has a cancellation of this thread wait until the call returns. It would unwind the middle of a
/// request, through functions that let nothing through, which ends the process.
class CancellationHeld {
 public:
  CancellationHeld() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_); }
  CancellationHeld(const CancellationHeld&) = delete;
  CancellationHeld& operator=(const CancellationHeld&) = delete;
  ~CancellationHeld() { pthread_setcancelstate(before_, nullptr); }

 private:
  int before_ = PTHREAD_CANCEL_ENABLE;
};

/// Runs `body`; an exception ends here and becomes `onException`. Elsewhere exceptions stop only
/// where a failure must not keep a camera from closing: at the settings, and at an image file.
template <class Result, class Body>
Result guarded(Result onException, Body body) noexcept {
  const CancellationHeld held;
  try {
    return body();
  } catch (...) {
    return onException;
  }
}

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
