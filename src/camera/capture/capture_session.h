// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "camera/capture/capture_worker.h"
#include "camera/worker_thread.h"

namespace orvik {

/// Starts and stops the capture worker of one camera. For one thread at a time.
class CaptureSession {
 public:
  /// Waits until a worker that has finished its snapshot has put the camera to rest, at most five
  /// seconds.
  /// @return false when it has not.
  bool waitForPrevious();

  /// Starts a worker; the one before must have ended.
  /// @param parts all but `control`, which is made anew for each capture
  /// @return false when no thread could be had.
  bool start(CaptureParts parts, std::shared_ptr<seam::Clock> clock);

  /// Stops the worker and waits for its end, at most five seconds; then it is left to itself.
  /// @return whether it ended.
  bool stop();

 private:
  std::shared_ptr<StopSwitch> control_;
  std::shared_ptr<VendorLink> link_;
  WorkerThread thread_;
};

}  // namespace orvik
