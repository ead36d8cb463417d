// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "seam/change_count.h"

struct libusb_context;

namespace orvik {

/// Lets libusb count the plugging and unplugging of the maker's devices; it does so whenever it
/// handles events of the context.
/// @return the count, which has to live as long as the context; null where libusb is not told.
std::shared_ptr<seam::ChangeCount> countChanges(libusb_context* context);

}  // namespace orvik
