// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "seam/usb_host.h"

namespace orvik {

/// The USB host of this process: the installed one, else the replay that the environment requests
/// (ORVIK_REPLAY), else that of libusb. Never null: if libusb cannot be initialised, which each
/// call tries again, it is a host without devices.
///
/// If the environment requests virtual cameras (ORVIK_SIM), a host without devices stands for that
/// of libusb throughout, because a program that was to use virtual cameras must not control real
/// ones. The first call plugs them in, and calls of other threads wait for it, unless a host has
/// been installed before or a replay is requested. If that fails, the reason is printed. Any
/// thread.
std::shared_ptr<seam::Host> currentHost();

/// Replaces libusb by another host, or restores it (null). Devices that are already open stay with
/// the host that opened them. Any thread.
void installHost(std::shared_ptr<seam::Host> host);

}  // namespace orvik
