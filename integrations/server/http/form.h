// SPDX-License-Identifier: MIT
// The parameters of a request: `a=1&b=two+words`.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orvik::server {

/// Decoded parameters in their order.
class Form {
 public:
  /// Takes apart a query or a body of the type application/x-www-form-urlencoded: `+` and `%XX` are
  /// decoded; a `%` without two hexadecimal digits stays as it is.
  static Form parse(std::string_view text);

  /// The first value of the parameter, whose name has to match exactly.
  [[nodiscard]] std::optional<std::string_view> exact(std::string_view name) const;
  /// The same, in any case.
  [[nodiscard]] std::optional<std::string_view> anyCase(std::string_view name) const;

 private:
  std::vector<std::pair<std::string, std::string>> list_;
};

/// A text without the blanks and tabs around it.
std::string_view trimmed(std::string_view text);

/// Whether two texts are equal but for the case of ASCII letters.
bool equalInAnyCase(std::string_view one, std::string_view other);

}  // namespace orvik::server
