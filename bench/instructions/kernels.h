// SPDX-License-Identifier: MIT
/// The kernels whose instructions are counted.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <random>
#include <string>
#include <vector>

namespace orvik::bench {

/// Columns of a small camera. A row ends within a vector of any width.
inline constexpr int kColumns = 1304;

inline constexpr int kMostRows = 24;

/// Buffers for any kernel. They are as large, and take as many instructions to be filled, however
/// many rows are worked on.
struct Buffers {
  static constexpr auto kPixels = std::size_t{kColumns} * kMostRows;

  explicit Buffers(int rowsOfPixels)
      : rows(rowsOfPixels),
        bytes(3 * kPixels),
        words(kPixels),
        dark(kPixels, 9),
        out(4 * kPixels),
        table16(65536) {
    std::minstd_rand generator(1);
    std::array<std::uint16_t, 4096> noise{};
    for (auto& each : noise) each = static_cast<std::uint16_t>(generator() >> 8U);
    for (std::size_t i = 0; i < kPixels; i += noise.size()) {
      std::copy_n(noise.data(), std::min(noise.size(), kPixels - i), words.data() + i);
    }
    for (std::size_t i = 0; i < bytes.size(); i += noise.size()) {
      std::memcpy(bytes.data() + i, noise.data(), std::min(noise.size(), bytes.size() - i));
    }
    std::iota(table8.rbegin(), table8.rend(), std::uint8_t{0});
    std::iota(table16.rbegin(), table16.rend(), std::uint16_t{0});
  }

  int rows;
  std::vector<std::uint8_t> bytes;
  std::vector<std::uint16_t> words;
  std::vector<std::uint16_t> dark;
  std::vector<std::uint8_t> out;
  std::array<std::uint8_t, 256> table8{};
  std::vector<std::uint16_t> table16;
};

struct Kernel {
  std::string name;
  void (*run)(Buffers& buffers);
};

[[nodiscard]] const std::vector<Kernel>& countedKernels();

}  // namespace orvik::bench
