// SPDX-License-Identifier: MIT
#include "integrations/server/capture/file_names.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace orvik::server {
namespace {

constexpr std::array<std::string_view, 3> kEndings = {".fits", ".png", ".ser"};
// Leaves room for numbers, endings and those of temporary files in the 255 bytes of a name.
constexpr std::size_t kLongestBeginning = 120;

unsigned byteAt(std::string_view text, std::size_t i) {
  return i < text.size() ? static_cast<unsigned char>(text[i]) : 0;
}

/// The length of the UTF-8 character at `i`; 0 if there is none.
std::size_t characterAt(std::string_view text, std::size_t i) {
  const unsigned first = byteAt(text, i);
  if (first < 0x80) return 1;
  const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4) return 0;
  for (std::size_t k = 1; k < length; ++k) {
    if ((byteAt(text, i + k) & 0xC0U) != 0x80) return 0;
  }
  // Longer than needed, a surrogate, or beyond the last character.
  const unsigned second = byteAt(text, i + 1);
  const bool isWrong = (first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ||
                       (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F);
  return isWrong ? 0 : length;
}

bool isUtf8(std::string_view text) {
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t length = characterAt(text, i);
    if (length == 0) return false;
    i += length;
  }
  return true;
}

bool isControl(char letter) {
  const auto code = static_cast<unsigned char>(letter);
  return code < 0x20 || code == 0x7F;
}

std::string_view trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(' ');
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

}  // namespace

bool isPlainName(std::string_view name) {
  return !name.empty() && name.size() <= 255 && name.front() != '.' &&
         name.find_first_of("/\\") == std::string_view::npos &&
         std::none_of(name.begin(), name.end(), isControl) && isUtf8(name);
}

bool hasCaptureEnding(std::string_view name) {
  return std::any_of(kEndings.begin(), kEndings.end(), [name](std::string_view ending) {
    return name.size() > ending.size() && name.ends_with(ending);
  });
}

std::string beginningOf(std::string_view text) {
  std::string_view name = trimmed(text);
  for (const std::string_view ending : kEndings) {
    if (name.size() > ending.size() && name.ends_with(ending)) {
      name = trimmed(name.substr(0, name.size() - ending.size()));
      break;
    }
  }
  if (name.empty()) return "capture";
  const bool isFit = isPlainName(name) && name.size() <= kLongestBeginning &&
                     name.find_first_of("<>:\"|?*") == std::string_view::npos;
  return isFit ? std::string(name) : std::string();
}

std::int64_t numberIn(std::string_view name, std::string_view beginning, std::string_view ending) {
  if (!name.starts_with(beginning) || !name.ends_with(ending)) return 0;
  if (name.size() <= beginning.size() + ending.size()) return 0;
  const std::string_view digits =
      name.substr(beginning.size(), name.size() - beginning.size() - ending.size());
  constexpr std::size_t kMostDigits = 12;
  if (digits.size() > kMostDigits) return 0;
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return error == std::errc() && end == digits.data() + digits.size() && number > 0 ? number : 0;
}

}  // namespace orvik::server
