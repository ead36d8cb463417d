// SPDX-License-Identifier: MIT
#include "integrations/server/http/form.h"

#include <algorithm>

#include "integrations/server/http/request_target.h"

namespace orvik::server {
namespace {

std::string decoded(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == '+') {
      result += ' ';
    } else if (const auto byte = percentDecoded(text.substr(at))) {
      result += *byte;
      at += 2;
    } else {
      result += text[at];
    }
  }
  return result;
}

}  // namespace

Form Form::parse(std::string_view text) {
  Form form;
  while (!text.empty()) {
    const std::string_view part = text.substr(0, text.find('&'));
    text.remove_prefix(std::min(part.size() + 1, text.size()));
    if (part.empty()) continue;
    const std::string_view name = part.substr(0, part.find('='));
    const std::string_view value = part.substr(std::min(name.size() + 1, part.size()));
    form.list_.emplace_back(decoded(name), decoded(value));
  }
  return form;
}

std::optional<std::string_view> Form::exact(std::string_view name) const {
  for (const auto& [ours, value] : list_) {
    if (ours == name) return value;
  }
  return std::nullopt;
}

std::optional<std::string_view> Form::anyCase(std::string_view name) const {
  for (const auto& [ours, value] : list_) {
    if (equalInAnyCase(ours, name)) return value;
  }
  return std::nullopt;
}

std::string_view trimmed(std::string_view text) {
  const auto begin = text.find_first_not_of(" \t");
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

bool equalInAnyCase(std::string_view one, std::string_view other) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
  return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                    [&](char a, char b) { return lower(a) == lower(b); });
}

}  // namespace orvik::server
