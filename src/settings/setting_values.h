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

/// The type tag of a stored value. It does not determine the length of the value.
enum class Type : std::uint8_t {
  kBinary = 3,  ///< bytes
  kDword = 4,   ///< usually a 32-bit little-endian number
};

/// A stored value: a name, a type tag, and bytes.
struct Value {
  std::string name;
  Type type = Type::kDword;
  std::vector<std::uint8_t> bytes;

  friend bool operator==(const Value&, const Value&) = default;
};

/// The length of the longest value.
inline constexpr std::size_t kMaxBytes = 4096;

/// The values of one model, or of one camera.
using Group = std::vector<Value>;

/// @return null when the group has no such value.
const Value* find(const Group& group, std::string_view name);

/// The settings file: JSON, with an object for each model and in it one for each value; cameras
/// that have a serial number have groups of their own, such as "T15C 0012ABCD":
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
/// and 0. A longer one is a text padded with zeros, or else a list of its bytes. If `bytes` is
/// missing, "dword" has 4 bytes, a binary number 1 byte, and a text or a list as many as it needs.
/// Comments (// and /* */) are accepted, but not preserved. An empty text is a file without values.
///
/// These are pure functions that accept any text; any thread may call them.

/// Reads the values of one group.
/// @return nothing when the text is no settings file or has no such group. A value that does not
/// follow the rules above is ignored.
std::optional<Group> readGroup(std::string_view text, const std::string& name);

/// Sets the same values in several groups of a settings file; all others stay.
/// @return nothing when the text is no settings file; the returned text always is one.
std::optional<std::string> withValues(std::string_view text, std::span<const std::string> names,
                                      std::span<const Value> values);

/// The same for one group.
inline std::optional<std::string> withValues(std::string_view text, const std::string& name,
                                             std::span<const Value> values) {
  return withValues(text, std::span(&name, 1), values);
}

/// Removes groups; all others stay. The rest as withValues().
std::optional<std::string> withoutGroups(std::string_view text, std::span<const std::string> names);

}  // namespace orvik::settings
