// SPDX-License-Identifier: MIT
#pragma once

#include "orvik/orvik.h"

namespace orvik::ctl {

#define ORVIKCTL_TEXT_OF(number) #number
#define ORVIKCTL_VERSION(major, minor, patch) \
  ORVIKCTL_TEXT_OF(major) "." ORVIKCTL_TEXT_OF(minor) "." ORVIKCTL_TEXT_OF(patch)

/// Version of this program: that of the interface it was built with.
inline constexpr const char* kVersion =
    ORVIKCTL_VERSION(ORVIK_VERSION_MAJOR, ORVIK_VERSION_MINOR, ORVIK_VERSION_PATCH);

/// Name and version as image files carry them.
inline constexpr const char* kSoftware =
    "orvikctl " ORVIKCTL_VERSION(ORVIK_VERSION_MAJOR, ORVIK_VERSION_MINOR, ORVIK_VERSION_PATCH);

#undef ORVIKCTL_VERSION
#undef ORVIKCTL_TEXT_OF

}  // namespace orvik::ctl
