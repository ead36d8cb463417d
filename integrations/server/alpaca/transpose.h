// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace orvik::server {

/// Writes rows as columns: `out[x * height + y] = in[y * stride + x]`. `Sample` is std::uint8_t or
/// std::uint16_t; the buffers do not overlap.
template <typename Sample>
void transpose(const Sample* in, std::size_t stride, std::size_t width, std::size_t height,
               Sample* out);

}  // namespace orvik::server
