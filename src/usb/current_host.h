// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "seam/usb_host.h"

namespace orvik {

/// The USB host of this process: the one installed, else the replay that the environment asks for,
/// else libusb's. Never null: while libusb cannot initialise, which each call tries anew, there is
/// a host without devices. Any thread.
std::shared_ptr<seam::Host> currentHost();

/// Puts another host in libusb's place, or gives libusb its place back (null). Devices that are
/// already open stay with the host that opened them. Any thread.
void installHost(std::shared_ptr<seam::Host> host);

}  // namespace orvik
