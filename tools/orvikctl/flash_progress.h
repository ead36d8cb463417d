// SPDX-License-Identifier: MIT
#pragma once

#include "orvik/orvik.hpp"

namespace orvik::ctl {

/// Shows how long work on a camera's flash takes; silent where there is no terminal.
ProgressCallback flashProgress();

}  // namespace orvik::ctl
