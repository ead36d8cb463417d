// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <mutex>
#include <shared_mutex>
#include <thread>

#include "sim/random.h"
#include "soak/watch.h"

namespace orvik::soak {

/// Two threads that use one camera index in every way that the interface allows, and in many that
/// it refuses: one conducts (formats, captures, controls, flash), the other fetches frames.
///
/// The rules that callers have to keep are kept: nobody is inside a call while the camera is
/// closed, and captures are started and stopped by one thread at a time.
class CameraCallers {
 public:
  CameraCallers(int index, std::uint64_t seed);
  ~CameraCallers();
  CameraCallers(const CameraCallers&) = delete;
  CameraCallers& operator=(const CameraCallers&) = delete;

  /// Makes no further calls. For the controlling thread.
  void end();

  [[nodiscard]] const Calls& conducting() const { return conducting_; }
  [[nodiscard]] const Calls& fetching() const { return fetching_; }
  /// Images that have been delivered.
  [[nodiscard]] std::uint64_t images() const { return images_; }

  /// Calls `close` while none of the two is inside a call. For the controlling thread.
  template <class Close>
  void whileOutside(Calls& calls, Close close) {
    closing_ = true;
    {
      const std::lock_guard capture(capture_);
      calls.make("OrvikStopExposure", [this] { return OrvikStopExposure(index_); });
      calls.make("OrvikStopVideoCapture", [this] { return OrvikStopVideoCapture(index_); });
    }
    const std::unique_lock nobodyInside(inside_);
    close();
    closing_ = false;
  }

 private:
  bool isOpen(Calls& calls);
  void conduct(sim::Random random);
  void fetch(sim::Random random);
  void conductOnce(sim::Random& random);
  void capture(sim::Random& random);
  void setFormat(sim::Random& random);
  void useControls(sim::Random& random);
  void useExtras(sim::Random& random);

  const int index_;
  Calls conducting_;
  Calls fetching_;
  std::atomic<std::uint64_t> images_{0};
  std::atomic<bool> over_{false};
  std::atomic<bool> closing_{false};
  std::shared_mutex inside_;  ///< shared: a call; whole: the close
  std::mutex capture_;        ///< starting and stopping
  std::thread conductor_;
  std::thread fetcher_;
};

}  // namespace orvik::soak
