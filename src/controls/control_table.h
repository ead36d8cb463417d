// SPDX-License-Identifier: MIT
#pragma once

#include "orvik/orvik.h"
#include "state/model_row.h"

namespace orvik {

/// Number of control types; the valid ones are 0 to this - 1.
inline constexpr int kControlCount = 18;

/// Whether a number is that of a control type.
constexpr bool isControlType(int type) { return type >= 0 && type < kControlCount; }

/// The limits of a control of a model; all 0 when there is no such control type.
ControlRange controlRange(const ModelRow& model, Orvik_CONTROL_TYPE type);

/// Describes a control as a model offers it.
/// @return false when there is no such control type; `caps` is then as it was.
bool describeControl(const ModelRow& model, Orvik_CONTROL_TYPE type, Orvik_CONTROL_CAPS& caps);

}  // namespace orvik
