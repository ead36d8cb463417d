// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "orvik/orvik_service.h"

namespace orvik::ctl::doctor {

/// Whether this user may open a device.
enum class Access {
  kGranted,
  kRefused,
  kNoFile,  ///< the system made no file for it
};

/// A program that has a device open.
struct Holder {
  std::string program;
  int process = 0;
};

/// A camera as the system sees it.
struct CameraFacts {
  std::string name;                      ///< display name
  std::optional<Orvik_PRODUCT> product;  ///< nothing for a product that the library does not know
  std::string port;                      ///< the system's name for the place, as "2-1.4"
  std::string file;                      ///< of the device, as "/dev/bus/usb/002/003"
  double megabits = 0;                   ///< speed that it runs at, Mbit/s; 0 if it is not known
  bool maySleep = false;                 ///< the system may suspend it
  Access access = Access::kGranted;
  std::vector<Holder> holders;  ///< as far as this user may see them
  std::string kernelDriver;     ///< that has taken its interface; "usbfs" for a program; or ""
};

/// What of a machine concerns cameras.
struct MachineFacts {
  bool hasUsb = false;
  std::optional<std::string> virtualCameras;  ///< ORVIK_SIM, if it is set
  std::optional<std::string> replay;          ///< ORVIK_REPLAY, if it is set
  std::vector<CameraFacts> cameras;
  std::optional<int> usbMemoryMib;  ///< what USB transfers may hold; 0 for any amount
  std::string kernel;               ///< as "6.1.0-18-amd64"; "" if it is not known
  bool hasUdevRules = false;
  std::string settingsFile;      ///< where settings are kept; "" for a user without a home
  std::string settingsObstacle;  ///< what keeps them from being written, or ""
};

/// Every product that the library knows.
std::vector<Orvik_PRODUCT> knownProducts();

/// Looks at a machine, at the place of this user's settings and at the environment. Opens no device
/// and changes nothing.
///
/// @param root where its /sys, /proc, /dev, /etc and /usr stand
/// @param products whose devices are the cameras, and of whose vendor
MachineFacts readMachine(const std::filesystem::path& root,
                         std::span<const Orvik_PRODUCT> products);

}  // namespace orvik::ctl::doctor
