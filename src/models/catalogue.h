// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "camera/camera.h"

namespace orvik {

/// The rows of all models, in the order of their codes.
std::span<const ModelRow* const> allModels();

/// The row of the model of a product; null when there is none.
const ModelRow* modelOfProduct(std::uint16_t productId);

/// The display name of a product: its own, or that of its model; "" for an unknown product.
const char* productName(std::uint16_t productId);

/// Makes the driver for a product. @return null when there is none.
std::unique_ptr<Camera> createCamera(std::uint16_t productId);

}  // namespace orvik
