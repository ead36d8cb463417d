// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "seam/usb_host.h"

namespace orvik {

/// The text of a device as ASCII: characters that are not printable become '?'.
std::string printable(const std::u16string& text);
std::string printable(const std::string& text);

/// The serial numbers of devices that are plugged in but not open here.
///
/// They come from the system if it knows them. Otherwise the device is opened briefly, once each
/// time that it is plugged in; a device that could not be read is tried again at the next call. Any
/// thread.
class SerialNumbers {
 public:
  /// Returns at once, or within 2.1 s if the device has to be opened and does not answer.
  /// @return "" for a device that has none, or whose serial number cannot be read.
  std::string of(seam::Host& host, const seam::DeviceInfo& device);

  /// Drops devices of `host` that are not in `present`.
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
