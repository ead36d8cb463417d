// SPDX-License-Identifier: MIT
#include "bench/host_controller.h"

#include <cstddef>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>

#include <algorithm>
#endif

namespace orvik::bench {

#ifdef __SSE2__
void writeAsController(std::span<const std::uint8_t> bytes, std::uint8_t* to) {
  constexpr std::size_t kStep = sizeof(__m128i);
  const std::size_t unaligned = reinterpret_cast<std::uintptr_t>(to) % kStep;
  std::size_t done = std::min((kStep - unaligned) % kStep, bytes.size());
  std::memcpy(to, bytes.data(), done);
  for (; done + kStep <= bytes.size(); done += kStep) {
    __m128i part;
    std::memcpy(&part, bytes.data() + done, kStep);
    _mm_stream_si128(reinterpret_cast<__m128i*>(to + done), part);
  }
  std::memcpy(to + done, bytes.data() + done, bytes.size() - done);
  _mm_sfence();
}
#else
void writeAsController(std::span<const std::uint8_t> bytes, std::uint8_t* to) {
  std::memcpy(to, bytes.data(), bytes.size());
}
#endif

}  // namespace orvik::bench
