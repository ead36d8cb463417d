// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "seam/usb_host.h"

namespace orvik {

/// The machine's USB, by libusb. A session of its own; one thread while a device is open.
///
/// Dropping the host waits, for a short while at most, until transfers that were dropped in flight
/// have ended.
///
/// @return null where libusb cannot initialise.
std::shared_ptr<seam::Host> makeLibusbHost();

}  // namespace orvik
