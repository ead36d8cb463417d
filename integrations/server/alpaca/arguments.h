// SPDX-License-Identifier: MIT
// The parameters of a request: how the standard spells names and values.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "integrations/server/http/form.h"

namespace orvik::server {

/// The type of a member's value, or of a parameter. Parameters are of the first four.
enum class Type { kBool, kInt, kDouble, kText, kList, kImage };

/// A parameter that a PUT requires.
struct Parameter {
  std::string_view name;  ///< "" for none
  Type type = Type::kBool;
};

using ParameterValue = std::variant<bool, std::int32_t, double, std::string>;

/// A value as it is written in a parameter; empty if it is not of the type. No blanks around it.
std::optional<ParameterValue> parseValue(Type type, std::string_view text);

/// The values of a PUT, in the order of its parameters.
class Arguments {
 public:
  /// @param who who has sent them, for the camera's events
  /// @throws BadRequest if one is missing, its name is in another case, or its value is not of the
  ///         type
  Arguments(const Form& form, std::span<const Parameter> parameters, std::string who);

  [[nodiscard]] bool flag(std::size_t position) const { return std::get<bool>(values_[position]); }
  [[nodiscard]] std::int32_t integer(std::size_t position) const {
    return std::get<std::int32_t>(values_[position]);
  }
  [[nodiscard]] double real(std::size_t position) const {
    return std::get<double>(values_[position]);
  }
  [[nodiscard]] const std::string& who() const { return who_; }

 private:
  std::vector<ParameterValue> values_;
  std::string who_;
};

/// The numbers with which a client names itself and its request, 0 where it does not.
struct ClientIds {
  std::uint32_t client = 0;
  std::uint32_t transaction = 0;
};

/// Reads ClientID and ClientTransactionID.
/// @param isPut the names of a PUT have to match exactly, those of a GET in any case
/// @throws BadRequest if one is there that is no unsigned number of 32 bits
ClientIds clientIds(const Form& form, bool isPut);

}  // namespace orvik::server
