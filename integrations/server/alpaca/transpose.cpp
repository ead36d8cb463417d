// SPDX-License-Identifier: MIT
#include "integrations/server/alpaca/transpose.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <utility>

namespace orvik::server {
namespace {

constexpr std::size_t kVectorBytes = 16;

/// Samples in a vector, and so the side of the square tile that is turned in registers.
template <typename Sample>
constexpr std::size_t kTile = kVectorBytes / sizeof(Sample);

/// Columns and rows of a block. The cache lines that a block reads and writes stay in the nearest
/// cache until they are used up.
constexpr std::size_t kBlockColumns = 64;
constexpr std::size_t kBlockRows = 128;

template <typename Sample>
struct VectorOf {
  using Type [[gnu::vector_size(kVectorBytes)]] = Sample;
};
template <typename Sample>
using Vector = typename VectorOf<Sample>::Type;

/// Samples of two vectors by turns, beginning with sample `kFrom` of each.
template <std::size_t kFrom, typename Sample, std::size_t... kAt>
Vector<Sample> interleave(Vector<Sample> one, Vector<Sample> other, std::index_sequence<kAt...>) {
  return __builtin_shufflevector(one, other, (kAt % 2 * kTile<Sample> + kFrom + kAt / 2)...);
}

/// Turns a tile by perfect shuffles of its rows: each doubles how many samples of a column stand
/// side by side.
template <typename Sample>
void turnTile(const Sample* in, std::size_t stride, Sample* out, std::size_t height) {
  constexpr std::size_t kSide = kTile<Sample>;
  constexpr auto kPositions = std::make_index_sequence<kSide>();
  std::array<Vector<Sample>, kSide> rows;
  for (std::size_t y = 0; y < kSide; ++y) std::memcpy(&rows[y], in + y * stride, kVectorBytes);
  for (std::size_t together = 1; together < kSide; together *= 2) {
    std::array<Vector<Sample>, kSide> shuffled;
    for (std::size_t y = 0; y < kSide / 2; ++y) {
      const Vector<Sample> one = rows[y];
      const Vector<Sample> other = rows[y + kSide / 2];
      shuffled[2 * y] = interleave<0, Sample>(one, other, kPositions);
      shuffled[2 * y + 1] = interleave<kSide / 2, Sample>(one, other, kPositions);
    }
    rows = shuffled;
  }
  for (std::size_t x = 0; x < kSide; ++x) std::memcpy(out + x * height, &rows[x], kVectorBytes);
}

template <typename Sample>
void turnBlock(const Sample* in, std::size_t stride, std::size_t width, std::size_t rows,
               Sample* out, std::size_t height) {
  constexpr std::size_t kSide = kTile<Sample>;
  const std::size_t tiledWidth = width / kSide * kSide;
  const std::size_t tiledRows = rows / kSide * kSide;
  for (std::size_t x = 0; x < tiledWidth; x += kSide) {
    for (std::size_t y = 0; y < tiledRows; y += kSide) {
      turnTile(in + y * stride + x, stride, out + x * height + y, height);
    }
  }
  for (std::size_t x = 0; x < width; ++x) {
    for (std::size_t y = x < tiledWidth ? tiledRows : 0; y < rows; ++y) {
      out[x * height + y] = in[y * stride + x];
    }
  }
}

}  // namespace

template <typename Sample>
void transpose(const Sample* in, std::size_t stride, std::size_t width, std::size_t height,
               Sample* out) {
  for (std::size_t x = 0; x < width; x += kBlockColumns) {
    const std::size_t columns = std::min(kBlockColumns, width - x);
    for (std::size_t y = 0; y < height; y += kBlockRows) {
      const std::size_t rows = std::min(kBlockRows, height - y);
      turnBlock(in + y * stride + x, stride, columns, rows, out + x * height + y, height);
    }
  }
}

template void transpose(const std::uint8_t*, std::size_t, std::size_t, std::size_t, std::uint8_t*);
template void transpose(const std::uint16_t*, std::size_t, std::size_t, std::size_t,
                        std::uint16_t*);

}  // namespace orvik::server
