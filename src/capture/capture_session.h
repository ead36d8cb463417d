// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>

#include "base/worker_thread.h"
#include "capture/capture.h"
#include "capture/capture_worker.h"
#include "capture/frame_pool.h"

namespace orvik {

/// The captures of one camera, one after the other: starts and stops their worker, and reports the
/// status of the present one. Status queries are for any thread, starting and stopping for one
/// thread at a time.
class CaptureSession {
 public:
  CaptureSession(std::shared_ptr<FrameQueue> queue, std::shared_ptr<FramePool> pool)
      : queue_(std::move(queue)), pool_(std::move(pool)) {}

  /// The capture that runs, or one that has ended by itself; null before the first, and after
  /// stop() unless that kept the image of a snapshot.
  [[nodiscard]] std::shared_ptr<const Capture> current() const;
  [[nodiscard]] bool isRunning() const;
  [[nodiscard]] Orvik_EXPOSURE_STATUS status() const;
  /// Whether the last capture that was started was a snapshot.
  [[nodiscard]] bool lastWasSnapshot() const;

  /// Whether a worker did not stop in time and still uses the device. No capture can be started
  /// until it has ended.
  [[nodiscard]] bool isLingering();
  /// Waits until a worker that has ended its capture has brought the camera to rest and ended, at
  /// most five seconds.
  /// @return false when it has not.
  bool waitForPrevious();

  /// Starts a capture; the previous worker must have ended.
  /// @param parts all except those that are made for each capture
  /// @return false when there is no memory or the system cannot start another thread; the capture
  /// has then failed.
  bool start(bool snapshot, const FrameFormat& format, CaptureParts parts);
  /// Records a capture that could not be started.
  void startFailed(bool snapshot, const FrameFormat& format);

  /// Ends the capture and wakes callers that wait for a frame; then waits for the worker, at most
  /// five seconds, after which the worker goes on alone. The image of a snapshot that has ended by
  /// itself stays.
  /// @return whether the worker has ended.
  bool stop();
  /// The same for a capture that another one follows at once: callers that wait for a frame go on
  /// waiting.
  bool suspend();
  /// Reports that the capture that should follow suspend() could not be started.
  void cannotResume() { queue_->end(0, NoFrame::kFailed); }
  /// Drops the present capture, which has ended, and its image.
  void forget();

 private:
  void setCurrent(std::shared_ptr<Capture> capture);
  std::shared_ptr<Capture> newCapture(bool snapshot, const FrameFormat& format);
  bool stopWorker();

  const std::shared_ptr<FrameQueue> queue_;
  const std::shared_ptr<FramePool> pool_;
  mutable std::mutex mutex_;  ///< guards the three below
  std::shared_ptr<Capture> current_;
  std::uint64_t lastNumber_ = 0;
  bool lastWasSnapshot_ = false;

  std::shared_ptr<StopSwitch> stop_;
  std::shared_ptr<VendorLink> link_;
  WorkerThread thread_;
};

}  // namespace orvik
