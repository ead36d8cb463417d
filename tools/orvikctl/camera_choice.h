// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "orvik/orvik.hpp"
#include "tools/orvikctl/virtual_cameras.h"

namespace orvik::ctl {

/// A connected camera as the lists show it.
struct ConnectedCamera {
  int index = 0;                          ///< in the lists of this program
  int libraryIndex = 0;                   ///< for the functions of the library
  std::string name;                       ///< display name, or "unknown model"
  std::string serial;                     ///< "" where it is not known
  std::string port;                       ///< as "2-1.4"
  std::optional<Orvik_CAMERA_INFO> info;  ///< nothing for an unknown model

  /// How messages name it: "Vek T15C 0012ABCD", or "Vek T15C at port 2-1".
  [[nodiscard]] std::string label() const;
};

/// The connected cameras: those on the USB bus or, if any are asked for, virtual ones instead.
class ConnectedCameras {
 public:
  /// @throws Failure (kUsage) if a virtual camera cannot be plugged; see VirtualCameras::plug()
  explicit ConnectedCameras(const std::vector<std::string>& virtualCameras);

  [[nodiscard]] const std::vector<ConnectedCamera>& all() const { return cameras_; }

  /// Chooses by index, port or serial number; "" chooses the only camera.
  ///
  /// @throws Failure (kNoCamera) if there is no such camera, or several
  [[nodiscard]] const ConnectedCamera& choose(const std::string& text) const;

 private:
  VirtualCameras virtual_;
  std::vector<ConnectedCamera> cameras_;
};

/// Opens a camera at its port, so that it is the one that was listed.
/// @throws Error if it cannot be opened
inline Camera openCamera(const ConnectedCamera& connected) { return Camera::open(connected.port); }

/// What to say when there is no camera at all.
inline constexpr const char* kNoCameraText =
    "no camera found. Is it plugged in? `orvikctl doctor` looks for what is wrong. For a virtual "
    "one, "
    "add --sim T15C.";

}  // namespace orvik::ctl
