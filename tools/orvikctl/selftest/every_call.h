// SPDX-License-Identifier: MIT
#pragma once

#include <span>

#include "orvik/orvik.h"

namespace orvik::ctl::selftest {

/// A function of orvik.h that takes a camera index, called with arguments in order.
struct Call {
  const char* name;
  Orvik_ERROR_CODE (*make)(int index);
  Orvik_ERROR_CODE onWrongIndex;
  Orvik_ERROR_CODE onClosedCamera;
};

/// All of them except OrvikOpenCamera(), which may succeed on a closed camera, and OrvikSetID(),
/// which must never write to a camera's flash by mistake.
std::span<const Call> everyCall();

}  // namespace orvik::ctl::selftest
