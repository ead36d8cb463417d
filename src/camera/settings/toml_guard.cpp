// SPDX-License-Identifier: MIT
#include "camera/settings/toml_guard.h"

#include <algorithm>

namespace orvik::settings {
namespace {

constexpr int kMaxDots = 2000;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// What follows a string, given the text from its first quote on. A string without an end goes up
/// to where the parser would give it up.
std::string_view afterString(std::string_view text) {
  const char quote = text.front();
  const bool escapes = quote == '"';
  std::size_t quotes = 1;
  while (quotes < 3 && quotes < text.size() && text[quotes] == quote) ++quotes;
  if (quotes == 2) return text.substr(2);  // an empty one
  const bool manyLines = quotes == 3;
  std::size_t closing = 0;
  std::size_t at = quotes;
  while (at < text.size()) {
    const char letter = text[at++];
    closing = letter == quote ? closing + 1 : 0;
    if (closing == quotes) break;
    if (letter == '\n' && !manyLines) break;
    if (letter == '\\' && escapes) ++at;
  }
  // Two quotes may stand before the closing three.
  for (int n = 0; n < 2 && manyLines && at < text.size() && text[at] == quote; ++n) ++at;
  return text.substr(std::min(at, text.size()));
}

}  // namespace

bool isSafeToParse(std::string_view text) {
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  int dots = 0;
  while (!text.empty()) {
    const char letter = text.front();
    if (letter == '"' || letter == '\'') {
      text = afterString(text);
      continue;
    }
    if (letter == '#') {
      text.remove_prefix(std::min(text.find('\n'), text.size()));
      continue;
    }
    if (letter == '.' && ++dots > kMaxDots) return false;
    if (static_cast<unsigned char>(letter) >= 0x80) return false;
    text.remove_prefix(1);
  }
  return true;
}

}  // namespace orvik::settings
