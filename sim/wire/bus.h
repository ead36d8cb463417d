// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <mutex>

namespace orvik::sim {

/// A USB bus, whose rate the cameras that stream on it share. The host controller serves them in
/// turn: what one does not need goes to the others in equal parts. Any thread.
class Bus {
 public:
  // What bulk transfers get of 480 Mbit/s and of 5 Gbit/s.
  static constexpr double kUsb2BytesPerSecond = 40e6;
  static constexpr double kUsb3BytesPerSecond = 400e6;

  /// @param bytesPerSecond that it carries in all, above 0
  explicit Bus(double bytesPerSecond) : bytesPerSecond_(bytesPerSecond) {}

  /// Tells what a camera needs.
  /// @param bytesPerSecond 0 when it does not stream any more
  void want(const void* camera, double bytesPerSecond);

  /// What a camera gets when it has something to send, bytes per second, above 0.
  [[nodiscard]] double shareOf(const void* camera) const;

 private:
  const double bytesPerSecond_;
  mutable std::mutex mutex_;
  std::map<const void*, double> wants_;
};

}  // namespace orvik::sim
