// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string_view>

namespace orvik::server {

/// The path of a device's member, `/api/v1/camera/{number}/{member}`, taken apart.
struct MemberPath {
  int number = 0;
  std::string_view member;  ///< a part of the path that was given
};

/// @throws BadRequest that says what is wrong with the path: it is case-sensitive, and a number has
///         no sign and no leading zeros
MemberPath memberPath(std::string_view path);

/// The number in `/setup/v1/camera/{number}/setup`; empty for any other path.
std::optional<int> setupPathNumber(std::string_view path);

}  // namespace orvik::server
