// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "seam/usb_host.h"

/// The only private entry point of liborvik for another library: replaces libusb by another USB
/// host (null restores libusb). Not part of the public interface: the two libraries must come from
/// the same build.
extern "C" __attribute__((visibility("default"))) void orvik_private_install_host(
    const std::shared_ptr<orvik::seam::Host>& host) noexcept;
