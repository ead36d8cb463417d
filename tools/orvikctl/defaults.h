// SPDX-License-Identifier: MIT
#pragma once

#include "orvik/orvik.hpp"

namespace orvik::ctl {

/// Whether a control has the value of a new camera. The record of a control tells it, but for the
/// bandwidth, which adapts itself, and for the way of binning, which models begin differently with.
bool isAsNew(const Control& control, ControlValue value);

}  // namespace orvik::ctl
