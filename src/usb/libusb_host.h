// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "seam/usb_host.h"

namespace orvik {

/// Makes the host for real USB, with libusb. It has a libusb context of its own, and one thread
/// while a device is open.
///
/// The destructor of the host waits, at most for a short time, until cancelled transfers have
/// ended.
///
/// @return null when libusb cannot be initialised.
std::shared_ptr<seam::Host> makeLibusbHost();

}  // namespace orvik
