// SPDX-License-Identifier: MIT
#pragma once

#include "camera/stop_switch.h"

namespace orvik {

/// The stop switch of one capture.
using CaptureControl = StopSwitch;

}  // namespace orvik
