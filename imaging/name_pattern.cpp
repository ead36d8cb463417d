// SPDX-License-Identifier: MIT
#include "imaging/name_pattern.h"

#include <algorithm>

#include "imaging/errors.h"

namespace orvik::imaging {
namespace {

constexpr std::size_t kMostDigits = 9;

bool isDigit(char letter) { return letter >= '0' && letter <= '9'; }

}  // namespace

NamePattern::NamePattern(const std::string& text) {
  const auto refuse = [&text](const char* why) { throw NameError(text + ": " + why); };
  for (std::size_t i = 0; i < text.size(); ++i) {
    std::string& part = numbered_ ? after_ : before_;
    if (text[i] != '%') {
      part += text[i];
      continue;
    }
    ++i;
    if (i < text.size() && text[i] == '%') {
      part += '%';
      continue;
    }
    std::size_t digits = 0;
    for (; i < text.size() && isDigit(text[i]); ++i) {
      digits = std::min<std::size_t>(digits * 10 + static_cast<std::size_t>(text[i] - '0'), 100);
    }
    if (i >= text.size() || text[i] != 'd' || digits > kMostDigits) {
      refuse(
          "after '%' stands the place of a number, as in %04d (up to 9 digits), or a second "
          "'%'.");
    }
    if (numbered_) refuse("one number is enough.");
    numbered_ = true;
    digits_ = digits;
  }
}

std::filesystem::path NamePattern::name(std::int64_t number) const {
  if (!numbered_) return before_;
  std::string digits = std::to_string(number);
  if (digits.size() < digits_) digits.insert(0, digits_ - digits.size(), '0');
  return before_ + digits + after_;
}

}  // namespace orvik::imaging
