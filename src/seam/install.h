// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "seam/usb_host.h"

/// The one door by which another library of the same build reaches into liborvik: it puts a USB
/// host in libusb's place (null gives the place back). Not part of the public interface: the two
/// libraries must come from the same build.
extern "C" __attribute__((visibility("default"))) void orvik_private_install_host(
    const std::shared_ptr<orvik::seam::Host>& host) noexcept;
