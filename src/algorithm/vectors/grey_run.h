// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

namespace orvik {

/// Does what grey10() does, for as many samples as fill whole vectors.
/// @return the samples done, from the first on
std::size_t grey10Run(const std::uint16_t* samples, std::uint8_t* words,
                      std::size_t count) noexcept;

}  // namespace orvik
