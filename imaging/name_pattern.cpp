// SPDX-License-Identifier: MIT
#include "imaging/name_pattern.h"

#include <algorithm>
#include <charconv>
#include <system_error>

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

std::filesystem::path NamePattern::nameWithoutNumber() const {
  std::string before = before_;
  while (!before.empty() && (before.back() == '-' || before.back() == '_')) before.pop_back();
  if (before.empty() || before.back() == '/') before += "series";
  return before + after_;
}

std::int64_t NamePattern::nextNumber() const {
  const std::filesystem::path folder = std::filesystem::path(before_).parent_path();
  std::int64_t highest = 0;
  std::error_code error;  // a folder that cannot be read is found when a file is to be written
  std::filesystem::directory_iterator entry(folder.empty() ? "." : folder, error);
  for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
    highest = std::max(highest, numberOf(entry->path().filename().string()).value_or(0));
  }
  return highest + 1;
}

/// Nothing if the pattern does not make this name.
std::optional<std::int64_t> NamePattern::numberOf(const std::string& fileName) const {
  const std::string before = std::filesystem::path(before_).filename().string();
  const bool fits = numbered_ && fileName.size() > before.size() + after_.size() &&
                    fileName.starts_with(before) && fileName.ends_with(after_);
  if (!fits) return std::nullopt;
  const char* const end = fileName.data() + fileName.size() - after_.size();
  std::int64_t number = 0;
  const auto [stop, error] = std::from_chars(fileName.data() + before.size(), end, number);
  // Numbers near the limit of the arithmetic leave no room for those that follow.
  constexpr std::int64_t kHighest = 1'000'000'000'000;
  const bool isNumber = error == std::errc{} && stop == end && number >= 0 && number < kHighest;
  if (!isNumber || name(number).filename() != fileName) return std::nullopt;
  return number;
}

}  // namespace orvik::imaging
