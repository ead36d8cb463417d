// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "orvik/orvik.hpp"
#include "tools/orvikctl/camera_choice.h"
#include "tools/orvikctl/capture/capture_options.h"
#include "tools/orvikctl/capture/capture_setup.h"
#include "tools/orvikctl/capture/sensor_cooling.h"

namespace orvik::ctl {

/// The camera of a capture, set up as its options ask; also again, after it was unplugged and has
/// come back, and cooled meanwhile if they ask for it. What the capture changed for itself is
/// restored at the end.
class CaptureCamera {
 public:
  /// Chooses, opens and sets up the camera. It is not cooled yet.
  ///
  /// @param options live as long as this object
  /// @throws Failure, Error
  CaptureCamera(const CaptureOptions& options, CaptureKind kind);
  ~CaptureCamera();
  CaptureCamera(const CaptureCamera&) = delete;
  CaptureCamera& operator=(const CaptureCamera&) = delete;

  [[nodiscard]] Camera& camera() { return camera_; }
  /// How messages name it.
  [[nodiscard]] const std::string& label() const { return label_; }

  /// Does the work of a command with a sensor that is as cold as the options ask. Afterwards, also
  /// after an error or a stop, the sensor is warmed up again; what ended the work is then told
  /// before. Without `--cool` this only does the work.
  ///
  /// @return what the work returned; else the exit code of what has ended it
  ExitCode run(const std::function<ExitCode()>& work);

  /// Sets the camera up anew, for images of another kind.
  ///
  /// @param options live as long as this object. Their cooling is not used
  /// @throws Failure, Error as the constructor
  void use(const CaptureOptions& options);

  /// Restores a control at the end that the command is going to change by itself.
  void restoreAtEnd(Orvik_CONTROL_TYPE type);

  /// Whether the camera has been unplugged since it was opened.
  [[nodiscard]] bool isUnplugged() const;

  /// Waits until the same camera is plugged in again, by its serial number or else its port; opens
  /// it, sets it up and cools it as before. Says on standard error what it waits for.
  ///
  /// @return false when a stop was requested
  /// @throws Failure, Error if it is back but cannot be used
  bool comeBack(const std::stop_token& stop);

 private:
  bool waitForDevice(const std::stop_token& stop);
  void setUp();
  void remember(const Replaced& now);
  ExitCode warmUp(ExitCode code);

  const CaptureOptions* options_;
  CaptureKind kind_;
  ConnectedCameras connected_;
  std::string label_;
  std::string serial_;
  std::string port_;
  Camera camera_;
  std::vector<Replaced> replaced_;
  std::optional<SensorCooling> cooling_;
};

}  // namespace orvik::ctl
