// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace orvik::settings {

/// The type tag of a stored value. It tells nothing of the value's length.
enum class Type : std::uint8_t {
  kBinary = 3,  ///< bytes
  kDword = 4,   ///< as a rule a 32-bit little-endian number
};

/// A stored value: a name, a type tag, and bytes.
struct Value {
  std::string name;
  Type type = Type::kDword;
  std::vector<std::uint8_t> bytes;

  friend bool operator==(const Value&, const Value&) = default;
};

/// No value is longer.
inline constexpr std::size_t kMaxBytes = 4096;

/// The values of one model.
using Group = std::vector<Value>;

/// @return null when the group has no such value.
const Value* find(const Group& group, std::string_view name);

/// The settings file: JSON, with an object for each model and in it one for each value:
///
///     {
///       "T15C": {
///         "Gain": {"type":"dword","value":200},
///         "OO": {"bytes":1,"type":"dword","value":0},
///         "AutoExp": {"type":"binary","value":0},
///         "BMPPATH": {"bytes":256,"type":"binary","value":"/home/user/dark.bmp"}
///       }
///     }
///
/// A value of 1 to 4 bytes is a number, signed when it has 4 bytes; true and false stand for 1
/// and 0. A longer one is a text that zeros fill up, or else a list of its bytes. Where `bytes` is
/// missing, "dword" has 4 bytes, a binary number 1 byte, and a text or a list what it needs.
/// Remarks, as // and /* */, are understood, but not kept. An empty text is a file without values.
///
/// Any text may be given to these functions; they depend on nothing else, and any thread may call
/// them.

/// Reads the values of one model.
/// @return none when the text is no settings file or has no such model. A value that does not
/// follow the rules above is left out.
std::optional<Group> readGroup(std::string_view text, const std::string& model);

/// Puts values into the text of a settings file: each replaces that of its name, all others stay.
/// @return none when the text is no settings file; the text returned always is one.
std::optional<std::string> withValues(std::string_view text, const std::string& model,
                                      std::span<const Value> values);

}  // namespace orvik::settings
