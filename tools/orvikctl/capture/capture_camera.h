// SPDX-License-Identifier: MIT
#pragma once

#include <stop_token>
#include <string>
#include <vector>

#include "orvik/orvik.hpp"
#include "tools/orvikctl/camera_choice.h"
#include "tools/orvikctl/capture/capture_options.h"
#include "tools/orvikctl/capture/capture_setup.h"

namespace orvik::ctl {

/// The camera of a capture, set up as its options ask; also again, after it was unplugged and has
/// come back. What the capture changed for itself is restored at the end.
class CaptureCamera {
 public:
  /// Chooses, opens and sets up the camera.
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

  /// Whether the camera has been unplugged since it was opened.
  [[nodiscard]] bool isUnplugged() const;

  /// Waits until the same camera is plugged in again, by its serial number or else its port; opens
  /// it and sets it up as before. Says on standard error what it waits for.
  ///
  /// @return false when a stop was requested
  /// @throws Failure, Error if it is back but cannot be used
  bool comeBack(const std::stop_token& stop);

 private:
  void setUp();

  const CaptureOptions& options_;
  CaptureKind kind_;
  ConnectedCameras connected_;
  std::string label_;
  std::string serial_;
  std::string port_;
  Camera camera_;
  std::vector<Replaced> replaced_;
};

}  // namespace orvik::ctl
