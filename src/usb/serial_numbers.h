// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "seam/usb_host.h"

namespace orvik {

/// A device's text as ASCII: what is not printable becomes '?'.
std::string printable(const std::u16string& text);
std::string printable(const std::string& text);

/// The serial numbers of devices that are plugged in but not open here.
///
/// The system is asked first. Where it does not tell, the device is opened for a moment, once for
/// each time that it is plugged in; a device that could not be read is tried again at the next
/// call. Any thread.
class SerialNumbers {
 public:
  /// @return "" for a device that has none, or does not tell it. At once, or within 2.1 s where a
  /// device has to be opened and does not answer.
  std::string of(seam::Host& host, const seam::DeviceInfo& device);

  /// Forgets devices of `host` that are not among `present`.
  void keepOnly(const seam::Host& host, const std::vector<seam::DeviceInfo>& present);

 private:
  struct Read {
    const seam::Host* host;
    seam::DeviceInfo device;
    std::string serialNumber;
  };

  std::mutex mutex_;
  std::vector<Read> read_;
};

}  // namespace orvik
