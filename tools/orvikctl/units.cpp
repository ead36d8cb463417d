// SPDX-License-Identifier: MIT
#include "tools/orvikctl/units.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace orvik::ctl {
namespace {

struct Unit {
  std::string_view suffix;
  double microseconds;
};
constexpr std::array kUnits = {Unit{"us", 1.0}, Unit{"ms", 1e3}, Unit{"s", 1e6}, Unit{"min", 6e7},
                               Unit{"h", 3.6e9}};
// Ten years: far above every exposure and recording, far below the limits of the arithmetic.
constexpr double kLongestUs = 10 * 365.25 * 86400e6;
constexpr int kLargestSize = 1'000'000;

/// Takes a number from the front of `text`.
template <typename Number>
std::optional<Number> takeNumber(std::string_view& text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{}) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return number;
}

bool takeCharacter(std::string_view& text, char expected) {
  if (text.empty() || text.front() != expected) return false;
  text.remove_prefix(1);
  return true;
}

}  // namespace

std::optional<std::int64_t> parseDuration(std::string_view text) {
  const auto number = takeNumber<double>(text);
  if (!number || !std::isfinite(*number) || *number < 0) return std::nullopt;
  while (takeCharacter(text, ' ')) {
  }
  for (const Unit& unit : kUnits) {
    if (text != unit.suffix) continue;
    const double microseconds = *number * unit.microseconds;
    if (microseconds > kLongestUs) return std::nullopt;
    return std::llround(microseconds);
  }
  return std::nullopt;
}

std::optional<Region> parseRegion(std::string_view text) {
  const auto inRange = [](std::optional<int> number, int least) {
    return number && *number >= least && *number <= kLargestSize;
  };
  const auto width = takeNumber<int>(text);
  if (!inRange(width, 1) || !(takeCharacter(text, 'x') || takeCharacter(text, 'X'))) return {};
  const auto height = takeNumber<int>(text);
  if (!inRange(height, 1)) return {};
  Region region{*width, *height, std::nullopt};
  if (text.empty()) return region;
  if (!takeCharacter(text, '+')) return {};
  const auto x = takeNumber<int>(text);
  if (!inRange(x, 0) || !takeCharacter(text, '+')) return {};
  const auto y = takeNumber<int>(text);
  if (!inRange(y, 0) || !text.empty()) return {};
  region.position = Region::Position{*x, *y};
  return region;
}

std::optional<std::int32_t> parseInteger(std::string_view text) {
  const auto number = takeNumber<std::int32_t>(text);
  return text.empty() ? number : std::nullopt;
}

std::optional<Setting> parseSetting(std::string_view text) {
  if (text.empty()) return std::nullopt;
  if (text == "auto") return Setting{std::nullopt, true};
  constexpr std::string_view kAuto = ":auto";
  const bool isAuto = text.ends_with(kAuto);
  if (isAuto) text.remove_suffix(kAuto.size());
  if (text.empty()) return std::nullopt;
  return Setting{std::string(text), isAuto};
}

std::string fixedText(double value, int digits) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%.*f", digits, value);
  return text.data();
}

std::string clockText(double seconds) {
  const auto whole = static_cast<long>(std::ceil(seconds));
  std::array<char, 64> text{};
  if (whole < 3600) {
    std::snprintf(text.data(), text.size(), "%ld:%02ld", whole / 60, whole % 60);
  } else {
    std::snprintf(text.data(), text.size(), "%ld:%02ld:%02ld", whole / 3600, whole / 60 % 60,
                  whole % 60);
  }
  return text.data();
}

std::string foldName(std::string_view text) {
  std::string folded;
  for (const char letter : text) {
    if (letter == ' ' || letter == '-' || letter == '_') continue;
    const bool upper = letter >= 'A' && letter <= 'Z';
    folded += upper ? static_cast<char>(letter - 'A' + 'a') : letter;
  }
  return folded;
}

}  // namespace orvik::ctl
