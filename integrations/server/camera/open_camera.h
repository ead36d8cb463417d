// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "integrations/server/camera/capture_engine.h"
#include "integrations/server/camera/cooler_lead.h"
#include "integrations/server/camera/failure.h"
#include "integrations/server/camera/guide_port.h"
#include "integrations/server/camera/page_settings.h"
#include "integrations/server/camera/status.h"
#include "orvik/orvik.hpp"

namespace orvik::server {

/// A camera while it is open, with the threads that work for it. Opened and closed, that is
/// constructed and destroyed, on the fleet's thread; any thread may call the functions, which do
/// not wait for the camera.
class OpenCamera {
 public:
  struct Reports {
    std::function<void()> changed;    ///< fill() would tell something new
    std::function<void()> unplugged;  ///< it has to be closed
    std::function<void()> tick;       ///< twice a second, on the control thread
  };

  /// @throws Error
  OpenCamera(const std::string& identity, Audience& audience, Reports reports);
  /// Ends what runs; jobs that have not begun are told that the camera is not open.
  ~OpenCamera();
  OpenCamera(const OpenCamera&) = delete;
  OpenCamera& operator=(const OpenCamera&) = delete;

  /// A job for the control thread.
  void post(std::function<void(Camera&)> job, Done done);
  [[nodiscard]] const Camera& camera() const { return camera_; }
  PageSettings& settings() { return settings_; }
  /// Only on the control thread, and only with a cooler.
  CoolerLead& cooler() { return cooler_; }
  GuidePort& guidePort() { return guidePort_; }
  CaptureEngine& engine() { return engine_; }

  /// Copies into a status what is known. Any thread.
  void fill(CameraStatus& status) const;
  /// Whether it must stay open without users: the cooler is on, or a capture runs.
  [[nodiscard]] bool isAtWork() const;

 private:
  struct Job {
    std::function<void(Camera&)> run;
    Done done;
  };

  void runControl(const std::stop_token& end);
  void runJob(const Job& job);
  void observe();

  Camera camera_;
  Reports reports_;
  PageSettings settings_;
  CoolerLead cooler_;
  GuidePort guidePort_;

  mutable std::mutex mutex_;
  std::condition_variable_any changed_;
  std::deque<Job> jobs_;
  CameraStatus observed_;  // what needs questions to the camera
  std::string liveProblem_;

  CaptureEngine engine_;
  std::jthread control_;
};

}  // namespace orvik::server
