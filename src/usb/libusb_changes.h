// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "seam/change_count.h"

struct libusb_context;

namespace orvik {

/// Registers for the hot plug events of the maker's devices, which libusb delivers while it handles
/// events of the context.
/// @return the count, which must exist as long as the context; null without hot plug support.
std::shared_ptr<seam::ChangeCount> countChanges(libusb_context* context);

}  // namespace orvik
