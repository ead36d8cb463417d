// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "integrations/server/alpaca/error.h"
#include "integrations/server/alpaca/exposure_state.h"
#include "integrations/server/alpaca/subframe.h"
#include "integrations/server/camera/served_camera.h"

namespace orvik::server {

/// What clients set for the next exposure.
struct ExposureSettings {
  Subframe subframe;  ///< any numbers; an exposure judges them
  int readoutMode = 0;
  int gain = 0;
  int offset = 0;
};

/// One of the ways of reading the sensor among which clients choose.
struct ReadoutMode {
  const char* name;
  IMG_TYPE type;
  bool isFast;
  int maxAdu;
};

/// Those of a camera, the best first.
std::vector<ReadoutMode> readoutModes(const ServedCamera::Description& camera);

/// All that members tell about a camera, at one moment.
struct CameraView {
  CameraIdentity identity;
  std::shared_ptr<const CameraStatus> status;
  /// Null until the camera was open for the first time.
  std::shared_ptr<const ServedCamera::Description> description;
  bool isConnected = false;
  bool isConnecting = false;  ///< or disconnecting
  std::optional<AlpacaError> connectFailure;

  ExposureSettings settings;
  CameraState state = CameraState::kIdle;
  int percent = 0;
  std::optional<AlpacaError> exposureFailure;
  std::shared_ptr<const AlpacaImage> image;
  /// Of the last image; empty before the first one.
  std::optional<std::chrono::microseconds> lastExposure;
  std::chrono::system_clock::time_point lastStart;

  bool isPulsing = false;
  std::optional<AlpacaError> pulseFailure;

  [[nodiscard]] const Orvik_CAMERA_INFO& info() const { return description->info; }
  /// Null if the camera does not offer it.
  [[nodiscard]] const Control* control(Orvik_CONTROL_TYPE type) const {
    return description->control(type);
  }
  [[nodiscard]] ReadoutMode mode() const {
    return readoutModes(*description)[static_cast<std::size_t>(settings.readoutMode)];
  }
};

}  // namespace orvik::server
