// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "integrations/server/camera/frame_store.h"
#include "integrations/server/camera/page_settings.h"
#include "integrations/server/camera/served_camera.h"

namespace orvik::server {

/// Those who look at a camera's frames.
class Audience {
 public:
  void add(std::weak_ptr<FrameListener> listener);
  void show(const SharedFrame& frame);

 private:
  std::mutex mutex_;
  std::vector<std::weak_ptr<FrameListener>> listeners_;
};

/// The thread that takes images with an open camera: one capture at a time, and the live view while
/// there is none.
class CaptureEngine {
 public:
  /// What the owner has to know. Called on the capture thread.
  struct Reports {
    std::function<void()> changed;  ///< activity() is another one, other than by tryCapture()
    std::function<void(const std::string&)> liveProblem;  ///< why there is no live view; "" again
    std::function<void()> unplugged;                      ///< the camera has to be closed
  };

  CaptureEngine(Camera& camera, PageSettings& settings, Audience& audience, Reports reports);
  /// Stops the live view and the running capture, whose `done` is still called: with a failure.
  ~CaptureEngine();
  CaptureEngine(const CaptureEngine&) = delete;
  CaptureEngine& operator=(const CaptureEngine&) = delete;

  // As those of ServedCamera.
  bool tryCapture(Capture capture);
  void stopCapture();
  void wantLive(bool wanted);

  [[nodiscard]] Activity activity() const;
  /// What the running capture is; "" without one.
  [[nodiscard]] std::string captureText() const;
  [[nodiscard]] double frameRate() const { return frameRate_; }
  [[nodiscard]] std::int64_t lost() const { return lost_; }

 private:
  class Context;

  void run(const std::stop_token& end);
  void runCapture();
  void runLive();
  void readLive(const std::stop_token& stop);
  void show(const SharedFrame& frame);

  Camera& camera_;
  PageSettings& settings_;
  Audience& audience_;
  Reports reports_;
  FrameStore store_;

  mutable std::mutex mutex_;
  std::condition_variable_any woken_;
  std::optional<Capture> capture_;  // from tryCapture() until it is over
  std::stop_source captureStop_;
  std::stop_source liveStop_;
  bool liveWanted_ = false;
  bool isLive_ = false;

  std::atomic<double> frameRate_ = 0;
  std::atomic<std::int64_t> lost_ = 0;
  std::int64_t lastByte_ = 0;    // of the frame that was shown before
  std::int64_t lastNumber_ = 0;  // of the same
  std::jthread thread_;
};

}  // namespace orvik::server
