// SPDX-License-Identifier: MIT
#pragma once

#include <pthread.h>

namespace orvik {

/// Delays a cancellation of this thread until the call returns. Otherwise it would unwind the stack
/// in the middle of a request, through noexcept functions, which ends the process.
class CancellationHeld {
 public:
  CancellationHeld() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_); }
  CancellationHeld(const CancellationHeld&) = delete;
  CancellationHeld& operator=(const CancellationHeld&) = delete;
  ~CancellationHeld() { pthread_setcancelstate(before_, nullptr); }

 private:
  int before_ = PTHREAD_CANCEL_ENABLE;
};

/// Runs `body` for a published function; an exception ends here and becomes `onException`. In other
/// places exceptions are caught only in threads, and where a failure must not prevent more
/// important work: at the settings, for example, which must not keep a camera from closing.
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
