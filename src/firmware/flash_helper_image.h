// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace orvik::firmware {

inline constexpr std::size_t kHelperFirstBytes = 2048;
inline constexpr std::size_t kHelperSecondBytes = 1427;

/// The helper program with which the USB 2 bridge accesses its boot EEPROM.
///
/// Provisional, here and nowhere else: a marked development image, which the virtual camera knows.
/// A real bridge needs the maker's program, of the same length, instead.
inline constexpr auto kFlashHelper = [] {
  constexpr std::string_view kMark = "ORVIK-FLASH-HELP";
  std::array<std::uint8_t, kHelperFirstBytes + kHelperSecondBytes> image{};
  for (std::size_t i = 0; i < kMark.size(); ++i) image[i] = static_cast<std::uint8_t>(kMark[i]);
  return image;
}();

}  // namespace orvik::firmware
