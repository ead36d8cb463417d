// SPDX-License-Identifier: MIT
/// The table of a sensor's hot pixels, and the form in which a camera's flash keeps it.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace orvik {

/// One bit a sensor pixel, row by row, 1 for a hot one: bit k (of value 1 << k) of byte j is pixel
/// 8 j + k. Pixels beyond the last whole byte cannot be hot.
using HotPixelTable = std::vector<uint8_t>;

/// Bytes of the table of a sensor of this size.
[[nodiscard]] constexpr size_t hotPixelTableBytes(int width, int height) noexcept {
  return static_cast<size_t>(width) * static_cast<size_t>(height) / 8;
}

/// Marks each pixel of a dark frame of the whole sensor that is hot; see isHot().
[[nodiscard]] HotPixelTable deriveHotPixels(std::span<const uint8_t> dark, uint32_t mean);

/// How many pixels the table marks.
[[nodiscard]] size_t countHotPixels(std::span<const uint8_t> table) noexcept;

/// The pixels that the table marks, ascending.
[[nodiscard]] std::vector<size_t> listHotPixels(std::span<const uint8_t> table);

/// A table in its stored form.
///
/// Big-endian: the magic "KRVD", the length of the whole in four bytes, then pairs of bytes. The
/// table's bytes are taken in blocks of 256. Each byte that is not 0 gives a pair of its place in
/// the block, its two halves of four bits exchanged, and its value; the pair (0, 0) goes between
/// two blocks.
struct StoredHotPixels {
  std::vector<uint8_t> bytes;  ///< as many as the table has, zeros behind the end
  size_t length = 0;           ///< the length that the header tells
};

/// Writes the stored form, which is never longer than the table: one that does not compress is cut
/// short. Tables of less than 8 bytes have none.
///
/// For tables of whole blocks the length is that of all pairs. Otherwise it is short by one byte or
/// by one pair, which may cost the marks in the last byte that has any; cameras in use count it so.
/// What is to be saved comes from storableHotPixels().
[[nodiscard]] StoredHotPixels compressHotPixels(std::span<const uint8_t> table);

/// The stored form from which every reader gets the table back: that of compressHotPixels() where
/// it is one, else all pairs with their true length.
/// @return header and pairs, never more bytes than the table has; nothing when the table marks too
///         many pixels for that, which are in about half of its bytes.
[[nodiscard]] std::optional<std::vector<uint8_t>> storableHotPixels(std::span<const uint8_t> table);

/// Reads the pairs of a stored table; the header is skipped, not looked at.
/// @param stored header and pairs, from any source
/// @param tableBytes size of the table
/// @return nothing when a pair lies beyond the table.
[[nodiscard]] std::optional<HotPixelTable> uncompressHotPixels(std::span<const uint8_t> stored,
                                                               size_t tableBytes);

/// The length that a stored table's header tells.
/// @return nothing when there is no such header, or the length does not even cover it.
[[nodiscard]] std::optional<size_t> storedHotPixelLength(std::span<const uint8_t> stored) noexcept;

}  // namespace orvik
