// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "orvik/orvik.hpp"

namespace orvik::server {

/// What tells a camera from all others, for as long as the server runs: its serial number, or the
/// port of a camera whose serial number is missing or not the only one of its kind.
struct CameraIdentity {
  int number = 0;      ///< from 0 on, in the order in which the cameras were first seen
  std::string name;    ///< display name of the model: "Vek T15C"
  std::string label;   ///< "Vek T15C 0012ABCD"
  std::string serial;  ///< "" if it has none
  std::string port;    ///< where it was last seen
  std::string key;     ///< vendor, product, and serial number or port: the same in each run
};

/// The key of a device among all that are plugged in.
std::string keyOf(const Device& device, const std::vector<Device>& all);

}  // namespace orvik::server
