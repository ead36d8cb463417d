// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "algorithm/time_mark.h"

namespace orvik {

/// The present local time; nothing if the system does not know it. Any thread.
std::optional<TimeOfDay> localTimeOfDay();

}  // namespace orvik
