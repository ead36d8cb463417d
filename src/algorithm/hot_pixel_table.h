// SPDX-License-Identifier: MIT
/// The table of a sensor's hot pixels, and the form in which a camera's flash keeps it.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace orvik {

/// One bit per sensor pixel, row by row, 1 for a hot one: bit k (of value 1 << k) of byte j is
/// pixel 8 j + k. Pixels beyond the last whole byte are not in the table.
using HotPixelTable = std::vector<std::uint8_t>;

/// Bytes of the table of a sensor of this size.
[[nodiscard]] constexpr std::size_t hotPixelTableBytes(int width, int height) noexcept {
  return static_cast<std::size_t>(width) * static_cast<std::size_t>(height) / 8;
}

/// Marks each hot pixel of a dark frame of the whole sensor; see isHot().
[[nodiscard]] HotPixelTable deriveHotPixels(std::span<const std::uint8_t> dark, std::uint32_t mean);

/// How many pixels the table marks.
[[nodiscard]] std::size_t countHotPixels(std::span<const std::uint8_t> table) noexcept;

/// The pixels that the table marks, ascending.
[[nodiscard]] std::vector<std::size_t> listHotPixels(std::span<const std::uint8_t> table);

/// A table in its stored form.
///
/// The magic "KRVD", the length of the whole in four bytes (big-endian), then pairs of bytes. The
/// bytes of the table are taken in blocks of 256. Each byte that is not 0 gives a pair: its place
/// in the block, with the two halves of four bits exchanged, and its value. The pair (0, 0) stands
/// between two blocks.
struct StoredHotPixels {
  std::vector<std::uint8_t> bytes;  ///< as many as the table has, zeros behind the end
  std::size_t length = 0;           ///< the length in the header
};

/// Writes the stored form, which is never longer than the table: if a table does not compress, the
/// form is cut off. Tables of less than 8 bytes have no stored form.
///
/// For tables of whole blocks the length is that of all pairs. Otherwise it is short by one byte or
/// by one pair, which may lose the marks in the last byte that has any; cameras in use count it
/// this way. Use storableHotPixels() for saving.
[[nodiscard]] StoredHotPixels compressHotPixels(std::span<const std::uint8_t> table);

/// The stored form from which every reader gets the table back: that of compressHotPixels() if it
/// does, else all pairs with their true length.
/// @return header and pairs, never more bytes than the table has; nothing when that is impossible
///         because the table has marks in about half of its bytes or more.
[[nodiscard]] std::optional<std::vector<std::uint8_t>> storableHotPixels(
    std::span<const std::uint8_t> table);

/// Reads the pairs of a stored table; the header is skipped without a check.
/// @param stored header and pairs, from any source
/// @param tableBytes size of the table
/// @return nothing when a pair lies beyond the table.
[[nodiscard]] std::optional<HotPixelTable> uncompressHotPixels(std::span<const std::uint8_t> stored,
                                                               std::size_t tableBytes);

/// The length in the header of a stored table.
/// @return nothing when there is no such header, or the length is less than that of the header.
[[nodiscard]] std::optional<std::size_t> storedHotPixelLength(
    std::span<const std::uint8_t> stored) noexcept;

}  // namespace orvik
