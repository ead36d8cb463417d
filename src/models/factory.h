// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>

#include "camera/camera_base.h"

namespace orvik {

/// The row of the model that a product belongs to. @return null when there is none.
const ModelRow* modelOfProduct(std::uint16_t productId);

/// Makes the driver of the model that a product belongs to. @return null when there is none.
std::unique_ptr<CCameraBase> createCamera(std::uint16_t productId);

}  // namespace orvik
