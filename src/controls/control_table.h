// SPDX-License-Identifier: MIT
#pragma once

#include "orvik/orvik.h"
#include "state/model_row.h"

namespace orvik {

/// Whether a number is that of a control type.
bool isControlType(int number);

/// The range of a control of a model; all 0 when there is no such control type.
ControlRange controlRange(const ModelRow& model, Orvik_CONTROL_TYPE type);

/// Describes a control of a model.
/// @return false when there is no such control type; `caps` is then unchanged.
bool describeControl(const ModelRow& model, Orvik_CONTROL_TYPE type, Orvik_CONTROL_CAPS& caps);

}  // namespace orvik
