// SPDX-License-Identifier: MIT
#include "integrations/server/alpaca/arguments.h"

#include <charconv>
#include <cmath>
#include <system_error>

#include "integrations/server/alpaca/error.h"

namespace orvik::server {
namespace {

/// A number that takes up the whole text, without blanks, plus sign or thousands separators.
template <typename Number>
std::optional<Number> wholeNumber(std::string_view text) {
  Number number{};
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

std::optional<ParameterValue> boolean(std::string_view text) {
  if (equalInAnyCase(text, "true")) return true;
  if (equalInAnyCase(text, "false")) return false;
  return std::nullopt;
}

std::uint32_t clientId(const Form& form, std::string_view name, bool isPut) {
  const auto text = isPut ? form.exact(name) : form.anyCase(name);
  if (!text) return 0;
  const auto number = wholeNumber<std::uint32_t>(*text);
  if (!number) throw BadRequest(std::string(name) + " is not an unsigned 32-bit number.");
  return *number;
}

const char* describe(Type type) {
  switch (type) {
    case Type::kBool:
      return "true or false";
    case Type::kInt:
      return "a whole number of 32 bits";
    case Type::kDouble:
      return "a number";
    case Type::kText:
    case Type::kList:
    case Type::kImage:
      break;
  }
  return "text";
}

}  // namespace

std::optional<ParameterValue> parseValue(Type type, std::string_view text) {
  switch (type) {
    case Type::kBool:
      return boolean(text);
    case Type::kInt:
      return wholeNumber<std::int32_t>(text);
    case Type::kDouble: {
      const auto number = wholeNumber<double>(text);
      // The names of infinity and of "not a number" would be read as well.
      if (!number || !std::isfinite(*number)) return std::nullopt;
      return number;
    }
    case Type::kText:
    case Type::kList:
    case Type::kImage:
      break;
  }
  return std::string(text);
}

Arguments::Arguments(const Form& form, std::span<const Parameter> parameters, std::string who)
    : who_(std::move(who)) {
  for (const Parameter& parameter : parameters) {
    if (parameter.name.empty()) continue;
    const auto text = form.exact(parameter.name);
    if (!text) {
      throw BadRequest("The parameter " + std::string(parameter.name) +
                       " is missing from the body (its name is case-sensitive).");
    }
    auto value = parseValue(parameter.type, *text);
    if (!value) {
      throw BadRequest(std::string(parameter.name) + " is not " + describe(parameter.type) + ".");
    }
    values_.push_back(std::move(*value));
  }
}

ClientIds clientIds(const Form& form, bool isPut) {
  return {.client = clientId(form, "ClientID", isPut),
          .transaction = clientId(form, "ClientTransactionID", isPut)};
}

}  // namespace orvik::server
