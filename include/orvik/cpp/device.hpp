// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <stop_token>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "orvik/cpp/error.hpp"

namespace orvik {
inline namespace v0 {

/// @addtogroup cpp
/// @{

/// A camera that is plugged in, open or not.
struct Device {
  std::string name;    ///< display name of the model; "" for one that the library does not know
  std::string serial;  ///< serial number, "" if there is none
  std::string port;    ///< port that it is plugged into, such as "2-1.4"
  std::string
      identity;       ///< text for Camera::open(): the serial number if it is unique, else the port
  int vendorId = 0;   ///< USB vendor ID
  int productId = 0;  ///< USB product ID
  bool isOpen = false;  ///< whether it is open in this process
  int handle = 0;       ///< its handle when it is open, else 0

  /// How messages name it: "Vek T15C 0012ABCD", or "Vek T15C at port 2-1".
  [[nodiscard]] std::string label() const {
    const std::string model = name.empty() ? "unknown model" : name;
    return model + (serial.empty() ? " at port " + port : " " + serial);
  }

  friend bool operator==(const Device&, const Device&) = default;
};

/// Lists the cameras that are plugged in, as OrvikListDevices() does. Any thread.
inline std::vector<Device> devices(OnError onError = {}) {
  const auto doing = [] { return std::string("listing the cameras"); };
  std::vector<Orvik_DEVICE> records;
  int count = 0;
  do {  // again when cameras were plugged in between the two calls
    records.resize(static_cast<std::size_t>(count));
    const Orvik_ERROR_CODE code =
        OrvikListDevices(records.data(), static_cast<int>(records.size()), &count);
    if (!onError.succeeded(code, doing)) return {};
  } while (static_cast<std::size_t>(count) > records.size());
  records.resize(static_cast<std::size_t>(count));

  std::vector<Device> list;
  list.reserve(records.size());
  for (const Orvik_DEVICE& record : records) {
    list.push_back({record.name, record.serial, record.port, record.identity, record.vendorId,
                    record.productId, record.isOpen == Orvik_TRUE, record.handle});
  }
  return list;
}

/// Calls a function for every camera that is plugged in or unplugged, on a thread of its own.
///
/// Cameras that are plugged in when the watch begins are reported as well. A camera that comes back
/// to its port before the watch has looked is not reported; reading from it fails, so that its user
/// notices. The function may open and close cameras as long as no other thread does so at the same
/// time; it must not destroy the watch, and an exception that leaves it ends the program.
class DeviceWatch {
 public:
  enum class Change { kArrived, kLeft };
  using Callback = std::function<void(Change, const Device&)>;

  /// @param known cameras that the caller has listed already, which are not reported
  explicit DeviceWatch(Callback callback, std::vector<Device> known = {})
      : callback_(std::move(callback)),
        known_(std::move(known)),
        thread_([this](const std::stop_token& stop) { run(stop); }) {}
  /// Returns when the callback is not running any more, after at most a quarter of a second and
  /// the time that the callback takes.
  ~DeviceWatch() = default;
  DeviceWatch(const DeviceWatch&) = delete;
  DeviceWatch& operator=(const DeviceWatch&) = delete;

 private:
  static constexpr int kWaitMs = 250;

  void run(const std::stop_token& stop) {
    std::int32_t changes = 0;
    while (!stop.stop_requested()) {
      const Orvik_ERROR_CODE code = OrvikWaitForDeviceChange(&changes, kWaitMs);
      if (code == Orvik_ERROR_TIMEOUT) continue;
      if (code != Orvik_OK) {  // no events on this system: look from time to time
        std::this_thread::sleep_for(std::chrono::milliseconds(kWaitMs));
      }
      std::error_code error;
      const std::vector<Device> now = devices(error);
      if (!error) report(now, stop);
    }
  }

  void report(const std::vector<Device>& now, const std::stop_token& stop) {
    const auto isIn = [](const std::vector<Device>& list, const Device& device) {
      return std::any_of(list.begin(), list.end(), [&](const Device& other) {
        return other.port == device.port && other.serial == device.serial &&
               other.vendorId == device.vendorId && other.productId == device.productId;
      });
    };
    const std::vector<Device> before = std::exchange(known_, now);
    for (const Device& device : before) {
      if (!isIn(now, device) && !stop.stop_requested()) callback_(Change::kLeft, device);
    }
    for (const Device& device : now) {
      if (!isIn(before, device) && !stop.stop_requested()) callback_(Change::kArrived, device);
    }
  }

  Callback callback_;
  std::vector<Device> known_;
  std::jthread thread_;
};

/// @}

}  // namespace v0
}  // namespace orvik
