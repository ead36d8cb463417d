// SPDX-License-Identifier: MIT
#pragma once

#include "orvik/orvik.h"
#include "state/model_row.h"

namespace orvik {

/// Number of control types; the valid ones are 0 to kControlCount - 1.
inline constexpr int kControlCount = 18;

/// Whether a number is a valid control type.
constexpr bool isControlType(int type) { return type >= 0 && type < kControlCount; }

/// The range of a control of a model; all 0 when there is no such control type.
ControlRange controlRange(const ModelRow& model, Orvik_CONTROL_TYPE type);

/// Describes a control of a model.
/// @return false when there is no such control type; `caps` is then unchanged.
bool describeControl(const ModelRow& model, Orvik_CONTROL_TYPE type, Orvik_CONTROL_CAPS& caps);

}  // namespace orvik
