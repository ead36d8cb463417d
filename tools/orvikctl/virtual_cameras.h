// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <tuple>
#include <vector>

namespace orvik::ctl {

/**
 * The virtual cameras of this run: plugged one by one, pulled out together.
 *
 * The driver gives indices and names, the simulator serial numbers; this class keeps them together.
 */
class VirtualCameras {
 public:
  VirtualCameras() = default;
  ~VirtualCameras();
  VirtualCameras(const VirtualCameras&) = delete;
  VirtualCameras& operator=(const VirtualCameras&) = delete;

  /**
   * Plugs a camera in.
   *
   * @param description "MODEL" or "MODEL,option,..." as OrvikSimPlug() takes them
   * @throws Failure (kUsage) that tells what is wrong with it
   */
  void plug(const std::string& description);

  /** The serial number of the camera at `index`; "" for a real camera. */
  [[nodiscard]] std::string serialAt(int index) const;

 private:
  struct Plugged {
    std::string name;                  // display name
    std::tuple<int, int, int> socket;  // bus, port, address
    std::string serial;
  };

  std::vector<Plugged> byIndex_;
};

/** The display name of the camera at `index`, or "unknown model". */
std::string cameraName(int index);

}  // namespace orvik::ctl
