// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "integrations/server/camera/served_camera.h"

namespace orvik::server {

/// All cameras that the server has seen. Cameras are numbered when they are first seen, keep their
/// number when they are unplugged, and have it again when they come back. Any thread.
class Fleet {
 public:
  /// Finds the cameras that are plugged in, and watches for others from then on.
  ///
  /// @param first serial numbers of the cameras that get the first numbers, in this order; the
  ///        others follow in that of their model, serial number and port
  explicit Fleet(const std::vector<std::string>& first = {});
  /// Stops captures, switches guide lines off and closes all cameras.
  ~Fleet();
  Fleet(const Fleet&) = delete;
  Fleet& operator=(const Fleet&) = delete;

  /// By number; cameras that are unplugged are among them.
  [[nodiscard]] std::vector<std::shared_ptr<ServedCamera>> cameras() const;
  /// Null if there is no such number.
  [[nodiscard]] std::shared_ptr<ServedCamera> camera(int number) const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace orvik::server
