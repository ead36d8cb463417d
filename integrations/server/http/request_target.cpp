// SPDX-License-Identifier: MIT
#include "integrations/server/http/request_target.h"

#include <algorithm>

#include "integrations/server/http/form.h"

namespace orvik::server {
namespace {

std::optional<int> digit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return std::nullopt;
}

bool isControl(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x20 || byte == 0x7F;
}

/// Whether a path contains encoded control characters, or has "." or ".." among its parts, encoded
/// or not: no client has a reason to send them.
bool isTricky(std::string_view path) {
  std::string part;
  for (std::size_t at = 0; at < path.size(); ++at) {
    const auto encoded = percentDecoded(path.substr(at));
    if (encoded) at += 2;
    const char c = encoded.value_or(path[at]);
    if (isControl(c)) return true;
    if (c != '/') part += c;
    if (c != '/' && at + 1 < path.size()) continue;
    if (part == "." || part == "..") return true;
    part.clear();
  }
  return false;
}

}  // namespace

std::optional<char> percentDecoded(std::string_view text) {
  if (text.size() < 3 || text[0] != '%') return std::nullopt;
  const auto high = digit(text[1]);
  const auto low = digit(text[2]);
  if (!high || !low) return std::nullopt;
  return static_cast<char>(*high * 16 + *low);
}

std::optional<RequestTarget> parseTarget(std::string_view text) {
  const auto isUnwanted = [](char c) { return isControl(c) || c == ' ' || c == '#'; };
  if (std::any_of(text.begin(), text.end(), isUnwanted)) return std::nullopt;
  RequestTarget target;
  for (const std::string_view scheme : {"http://", "https://"}) {
    if (!equalInAnyCase(text.substr(0, scheme.size()), scheme)) continue;
    text.remove_prefix(scheme.size());
    target.host = text.substr(0, text.find_first_of("/?"));
    if (target.host.empty() || target.host.find('@') != std::string_view::npos) return std::nullopt;
    text.remove_prefix(target.host.size());
    if (text.empty()) text = "/";
    break;
  }
  if (text.empty() || text[0] != '/') return std::nullopt;
  target.path = text.substr(0, text.find('?'));
  target.query = text.substr(std::min(target.path.size() + 1, text.size()));
  if (isTricky(target.path)) return std::nullopt;
  return target;
}

std::optional<std::string> decodedPath(std::string_view path) {
  std::string result;
  result.reserve(path.size());
  for (std::size_t at = 0; at < path.size(); ++at) {
    if (path[at] != '%') {
      result += path[at];
      continue;
    }
    const auto byte = percentDecoded(path.substr(at));
    if (!byte || *byte == '/' || isControl(*byte)) return std::nullopt;
    result += *byte;
    at += 2;
  }
  return result;
}

}  // namespace orvik::server
