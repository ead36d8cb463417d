// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace orvik::ctl {

/// The virtual cameras of this run. They are plugged in one by one and unplugged together.
class VirtualCameras {
 public:
  VirtualCameras() = default;
  ~VirtualCameras();
  VirtualCameras(const VirtualCameras&) = delete;
  VirtualCameras& operator=(const VirtualCameras&) = delete;

  /// Plugs a camera in.
  ///
  /// @param description "MODEL" or "MODEL,option,..." as OrvikSimPlug() takes them
  /// @throws Failure (kUsage) that says what is wrong with it
  void plug(const std::string& description);

  /// The ports that they are plugged into, in the order of plugging; "2-1".
  [[nodiscard]] std::vector<std::string> ports() const;

 private:
  bool any_ = false;
};

}  // namespace orvik::ctl
