// SPDX-License-Identifier: MIT
#include "imaging/sample_order.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace orvik::imaging {
namespace {

/// Exchanges the bytes of each sample, and flips bits of the result; compiled into vectors.
template <unsigned kFlipped>
void convert(std::span<const std::uint8_t> samples, std::span<std::uint8_t> out) {
  const std::size_t bytes = std::min(samples.size(), out.size());
  const std::uint8_t* const from = samples.data();
  std::uint8_t* const to = out.data();
  for (std::size_t i = 0; i + 1 < bytes; i += 2) {
    std::uint16_t sample = 0;
    std::memcpy(&sample, from + i, sizeof sample);
    const unsigned value = sample;
    sample = static_cast<std::uint16_t>((value >> 8U | value << 8U) ^ kFlipped);
    std::memcpy(to + i, &sample, sizeof sample);
  }
}

}  // namespace

void toBigEndian(std::span<const std::uint8_t> samples, std::span<std::uint8_t> out) {
  convert<0>(samples, out);
}

void toSignedBigEndian(std::span<const std::uint8_t> samples, std::span<std::uint8_t> out) {
  convert<0x0080>(samples, out);  // the sign bit is in the first byte
}

}  // namespace orvik::imaging
