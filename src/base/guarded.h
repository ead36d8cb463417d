// SPDX-License-Identifier: MIT
#pragma once

#include <pthread.h>

namespace orvik {

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

/// Runs `body` for a published function; an exception ends here and becomes `onException`.
/// Elsewhere exceptions stop only where a failure must not keep a camera from closing: at the
/// settings, and at an image file.
template <class Result, class Body>
Result guarded(Result onException, Body body) noexcept {
  const CancellationHeld held;
  try {
    return body();
  } catch (...) {
    return onException;
  }
}

}  // namespace orvik
