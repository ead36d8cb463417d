// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <vector>

#include "seam/usb_host.h"
#include "state/model_row.h"

namespace orvik {

/// The ordinal-th device of the model, in the order of enumeration. All products of the model
/// count.
/// @param present the devices that the host lists
/// @param ordinal counted from 1
/// @return nothing when there are fewer.
std::optional<seam::DeviceInfo> deviceOfModel(const ModelRow& model,
                                              std::vector<seam::DeviceInfo> present, int ordinal);

/// The device of the model at the same port as `former`. Its address may be another one.
std::optional<seam::DeviceInfo> deviceAtPortOf(const seam::DeviceInfo& former,
                                               const ModelRow& model,
                                               const std::vector<seam::DeviceInfo>& present);

}  // namespace orvik
