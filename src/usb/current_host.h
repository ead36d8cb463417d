// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "seam/usb_host.h"

namespace orvik {

/// The USB host of this process: the installed one, else the replay that the environment requests,
/// else that of libusb. Never null: if libusb cannot be initialised, which each call tries again,
/// it is a host without devices. Any thread.
std::shared_ptr<seam::Host> currentHost();

/// Replaces libusb by another host, or restores it (null). Devices that are already open stay with
/// the host that opened them. Any thread.
void installHost(std::shared_ptr<seam::Host> host);

}  // namespace orvik
