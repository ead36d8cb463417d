// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <mutex>

namespace orvik::sim {

/// A USB bus, whose rate the cameras that stream on it share. The host controller serves them in
/// turn: what one camera does not need is shared equally by the others. Any thread.
class Bus {
 public:
  // The part of 480 Mbit/s and of 5 Gbit/s that bulk transfers get.
  static constexpr double kUsb2BytesPerSecond = 40e6;
  static constexpr double kUsb3BytesPerSecond = 400e6;

  /// @param bytesPerSecond in total, above 0
  explicit Bus(double bytesPerSecond) : bytesPerSecond_(bytesPerSecond) {}

  /// Sets what a camera needs.
  /// @param bytesPerSecond 0 when it no longer streams
  void want(const void* camera, double bytesPerSecond);

  /// What a camera gets when it has something to send, bytes per second, above 0.
  [[nodiscard]] double shareOf(const void* camera) const;

 private:
  const double bytesPerSecond_;
  mutable std::mutex mutex_;
  std::map<const void*, double> wants_;
};

}  // namespace orvik::sim
