// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <mutex>
#include <shared_mutex>
#include <thread>

#include "sim/random.h"
#include "soak/watch.h"

namespace orvik::soak {

/// Three threads that use one camera index in every way that the interface allows, and in many ways
/// that it refuses. One thread conducts (formats, captures, controls, flash) and one fetches
/// frames. Meanwhile the third tunes: it changes everything that alters the size or the type of
/// frames.
///
/// They keep the rules for callers: no thread is inside a call while the camera is closed, captures
/// are started and stopped by one thread at a time, and the start position is not set while another
/// thread sets the format.
class CameraCallers {
 public:
  CameraCallers(int index, std::uint64_t seed);
  ~CameraCallers();
  CameraCallers(const CameraCallers&) = delete;
  CameraCallers& operator=(const CameraCallers&) = delete;

  /// Stops making calls. To be called by the controlling thread.
  void end();

  [[nodiscard]] const Calls& conducting() const { return conducting_; }
  [[nodiscard]] const Calls& fetching() const { return fetching_; }
  [[nodiscard]] const Calls& tuning() const { return tuning_; }
  /// @return the number of images delivered.
  [[nodiscard]] std::uint64_t images() const { return images_; }

  /// Calls `close` while no thread is inside a call. To be called by the controlling thread.
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
  void tune(sim::Random random);
  void tuneOnce(sim::Random& random);
  void conductOnce(sim::Random& random);
  void capture(sim::Random& random);
  void setFormat(Calls& calls, sim::Random& random);
  void useControls(sim::Random& random);
  void useExtras(sim::Random& random);

  const int index_;
  Calls conducting_;
  Calls fetching_;
  Calls tuning_;
  std::atomic<std::uint64_t> images_{0};
  std::atomic<bool> over_{false};
  std::atomic<bool> closing_{false};
  std::shared_mutex inside_;  ///< shared: a call; exclusive: the close
  std::mutex capture_;        ///< starting and stopping
  std::mutex format_;         ///< format and start position
  std::thread conductor_;
  std::thread fetcher_;
  std::thread tuner_;
};

}  // namespace orvik::soak
