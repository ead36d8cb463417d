// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>

namespace orvik {

/// Exchanges the two bytes of every sample, in place.
/// @par Thread: any.
void swapBytes(std::span<std::uint16_t> samples) noexcept;

}  // namespace orvik
