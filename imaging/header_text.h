// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace orvik::imaging {

/// Text as headers take it, and as a terminal can show it whatever a file holds: printable ASCII. A
/// '?' stands for each other character.
inline std::string headerText(std::string_view text) {
  std::string result;
  for (const char letter : text) {
    const auto code = static_cast<unsigned char>(letter);
    const bool continuesCharacter = (code & 0xC0U) == 0x80;  // of UTF-8
    if (!continuesCharacter) result += code >= 0x20 && code < 0x7F ? letter : '?';
  }
  return result;
}

}  // namespace orvik::imaging
