// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace orvik::ctl {

/// A region of the delivered image in pixels after binning; centred when no position was given.
struct Region {
  struct Position {
    int x = 0;
    int y = 0;
  };
  int width = 0;
  int height = 0;
  std::optional<Position> position;
};

/// A value as typed: "200", "200:auto", or "auto", which keeps the present value.
struct Setting {
  std::optional<std::string> value;
  bool isAuto = false;
};

/// Reads a length of time with its unit: "1500us", "20ms", "2.5s", "3min", "2h".
///
/// @return microseconds, 0 or more, rounded to the nearest; or nothing if `text` is no such time
std::optional<std::int64_t> parseDuration(std::string_view text);

/// Reads "WxH" or "WxH+X+Y": sizes 1 or more, positions 0 or more.
std::optional<Region> parseRegion(std::string_view text);

/// Reads a whole number that fits 32 bits.
std::optional<std::int32_t> parseInteger(std::string_view text);

/// Splits a trailing ":auto" off. Nothing if there is neither a value nor "auto".
std::optional<Setting> parseSetting(std::string_view text);

/// "12.50" for 12.5 and two digits.
std::string fixedText(double value, int digits);

/// Seconds, 0 or more, as "3:07" or "1:03:07".
std::string clockText(double seconds);

/// The text in lower case without spaces, '-' and '_', so that "cooler-on" finds "Cooler on".
std::string foldName(std::string_view text);

}  // namespace orvik::ctl
