// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <vector>

#include "seam/usb_host.h"
#include "state/model_row.h"

namespace orvik {

/// The device that an ordinal means: the ordinal-th of the model's devices in the order of
/// enumeration. All products of a model count.
/// @param present what the host lists
/// @param ordinal counted from 1
/// @return nothing when there are fewer.
std::optional<seam::DeviceInfo> deviceOfModel(const ModelRow& model,
                                              std::vector<seam::DeviceInfo> present, int ordinal);

/// The model's device at the same port as `former`, whatever its address.
std::optional<seam::DeviceInfo> deviceAtPortOf(const seam::DeviceInfo& former,
                                               const ModelRow& model,
                                               const std::vector<seam::DeviceInfo>& present);

}  // namespace orvik
