// SPDX-License-Identifier: MIT
#include "integrations/server/http/gate.h"

#include <arpa/inet.h>
#include <sys/random.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <system_error>
#include <utility>

#include "integrations/server/http/form.h"

namespace orvik::server {
namespace {

/// `name`, `name:port` or `[address]:port`, taken apart.
struct HostAndPort {
  std::string_view host;  ///< without brackets
  std::string_view port;
  bool isBracketed = false;
};

std::optional<HostAndPort> takeApart(std::string_view text) {
  HostAndPort result;
  std::size_t end = 0;
  if (text.starts_with('[')) {
    end = text.find(']');
    if (end == std::string_view::npos) return std::nullopt;
    result.host = text.substr(1, end - 1);
    result.isBracketed = true;
    ++end;
  } else {
    end = std::min(text.find(':'), text.size());
    result.host = text.substr(0, end);
  }
  if (end < text.size()) {
    if (text[end] != ':') return std::nullopt;
    result.port = text.substr(end + 1);
  }
  const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
  const auto isOfName = [&](char c) {
    return isDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '-' || c == '.' ||
           c == '_' || (c == ':' && result.isBracketed);
  };
  if (result.host.empty() || result.port.size() > 5 ||
      !std::all_of(result.host.begin(), result.host.end(), isOfName) ||
      !std::all_of(result.port.begin(), result.port.end(), isDigit)) {
    return std::nullopt;
  }
  return result;
}

bool isAddress(std::string_view host, int family) {
  std::array<std::uint8_t, sizeof(in6_addr)> bytes{};
  return inet_pton(family, std::string(host).c_str(), bytes.data()) == 1;
}

bool endsInAnyCase(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && equalInAnyCase(text.substr(text.size() - end.size()), end);
}

/// Takes the same time wherever the texts differ. The length may show.
bool equalInConstantTime(std::string_view one, std::string_view other) {
  if (one.size() != other.size()) return false;
  unsigned different = 0;
  for (std::size_t n = 0; n < one.size(); ++n) {
    different |= static_cast<unsigned>(static_cast<unsigned char>(one[n]) ^
                                       static_cast<unsigned char>(other[n]));
  }
  return different == 0;
}

std::string randomKey() {
  std::array<std::uint8_t, 32> bytes{};
  if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
    throw std::system_error(errno, std::generic_category(), "cannot make a random key");
  }
  std::string text;
  for (const std::uint8_t byte : bytes) {
    text += "0123456789abcdef"[byte >> 4U];
    text += "0123456789abcdef"[byte & 15U];
  }
  return text;
}

/// Nothing if the text is not base64.
std::optional<std::string> fromBase64(std::string_view text) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  while (text.ends_with('=')) text.remove_suffix(1);
  std::string result;
  std::uint32_t bits = 0;
  unsigned count = 0;
  for (const char c : text) {
    const std::size_t value = kDigits.find(c);
    if (value == std::string_view::npos) return std::nullopt;
    bits = bits << 6U | static_cast<std::uint32_t>(value);
    count += 6;
    if (count < 8) continue;
    count -= 8;
    result += static_cast<char>(bits >> count & 0xFFU);
  }
  return result;
}

/// Cookies are shared by all ports of a host: each server has a name of its own.
std::string cookieName(const Request& request) {
  const auto host = takeApart(request.headers.get("Host"));
  return "orvik" + (host ? std::string(host->port) : std::string());
}

bool hasCookie(const Request& request, std::string_view wanted) {
  const std::string name = cookieName(request);
  for (const auto& [header, value] : request.headers.list()) {
    if (!equalInAnyCase(header, "Cookie")) continue;
    std::string_view rest = value;
    while (!rest.empty()) {
      const std::string_view part = rest.substr(0, rest.find(';'));
      rest.remove_prefix(std::min(part.size() + 1, rest.size()));
      const std::string_view cookie = trimmed(part);
      const std::size_t equals = cookie.find('=');
      if (equals != std::string_view::npos && cookie.substr(0, equals) == name &&
          equalInConstantTime(cookie.substr(equals + 1), wanted)) {
        return true;
      }
    }
  }
  return false;
}

bool onlyReads(const Request& request) {
  return request.method == "GET" || request.method == "HEAD";
}

/// Whether a page of another site has made the request.
bool isForeign(const Request& request) {
  const std::string_view host = request.headers.get("Host");
  const auto& headers = request.headers.list();
  return std::any_of(headers.begin(), headers.end(), [host](const auto& header) {
    const std::string_view value = header.second;
    if (equalInAnyCase(header.first, "Origin")) {
      const std::size_t slashes = value.find("://");
      return slashes == std::string_view::npos || !equalInAnyCase(value.substr(slashes + 3), host);
    }
    return equalInAnyCase(header.first, "Sec-Fetch-Site") && value != "same-origin" &&
           value != "none";
  });
}

/// What may be read without the token.
bool isOpen(const Request& request) {
  if (request.path == "/login") return true;
  if (!onlyReads(request)) return false;
  // The page itself holds nothing of the cameras.
  constexpr std::array<std::string_view, 5> kBeginnings = {"/api/", "/management/", "/setup/",
                                                           "/page/", "/camera/"};
  constexpr std::array<std::string_view, 4> kPaths = {"/", "/setup", "/management", "/favicon.ico"};
  const std::string_view path = request.path;
  return std::ranges::find(kPaths, path) != kPaths.end() ||
         std::ranges::any_of(kBeginnings,
                             [&](auto beginning) { return path.starts_with(beginning); });
}

Response unauthorized(const Request& request) {
  Response response = plainText(401, "This needs the access token of the server.\n");
  if (request.method == "GET" &&
      request.headers.get("Accept").find("text/html") != std::string_view::npos) {
    response.contentType = "text/html; charset=utf-8";
    response.body = std::string(
        "<!doctype html><title>Orvik</title><meta http-equiv=\"refresh\" content=\"0; url=/login\">"
        "<p><a href=\"/login\">Log in</a>");
  }
  // Browsers would answer a challenge for basic authentication with a window of their own.
  response.headers.add("WWW-Authenticate", "Bearer realm=\"orvik-server\"");
  return response;
}

}  // namespace

Gate::Gate(std::vector<std::string> hosts, std::string token)
    : hosts_(std::move(hosts)), token_(std::move(token)), cookie_(randomKey()) {
  std::array<char, 256> name{};
  if (gethostname(name.data(), name.size() - 1) != 0 || name[0] == '\0') return;
  const std::string full = name.data();
  const std::string machine = full.substr(0, full.find('.'));
  hosts_.insert(hosts_.end(), {full, machine, machine + ".local"});
}

bool Gate::isOurs(std::string_view text) const {
  const auto parts = takeApart(text);
  if (!parts) return false;
  if (parts->isBracketed) return isAddress(parts->host, AF_INET6);
  std::string_view host = parts->host;
  if (host.ends_with('.')) host.remove_suffix(1);
  if (isAddress(host, AF_INET)) return true;
  if (equalInAnyCase(host, "localhost") || endsInAnyCase(host, ".localhost")) return true;
  return std::any_of(hosts_.begin(), hosts_.end(),
                     [&](const std::string& ours) { return equalInAnyCase(ours, host); });
}

bool Gate::hasToken(const Request& request) const {
  if (hasCookie(request, cookie_)) return true;
  const std::string_view header = request.headers.get("Authorization");
  const std::size_t blank = std::min(header.find(' '), header.size());
  const std::string_view scheme = header.substr(0, blank);
  const std::string_view credentials = trimmed(header.substr(blank));
  if (equalInAnyCase(scheme, "Bearer")) return equalInConstantTime(credentials, token_);
  if (!equalInAnyCase(scheme, "Basic")) return false;
  const auto text = fromBase64(credentials);
  if (!text) return false;
  const std::size_t colon = text->find(':');
  return colon != std::string::npos &&
         equalInConstantTime(std::string_view(*text).substr(colon + 1), token_);
}

std::optional<Response> Gate::refusal(const Request& request, bool opensWebSocket) const {
  for (const auto& [name, value] : request.headers.list()) {
    if (equalInAnyCase(name, "Host") && !isOurs(value)) {
      return plainText(421,
                       "This server does not answer under that name. Use its address, or start it "
                       "with the name as one of its hosts.\n");
    }
  }
  if ((opensWebSocket || !onlyReads(request)) && isForeign(request)) {
    return plainText(403, "Pages of other sites may not use the cameras.\n");
  }
  if (!token_.empty() && (opensWebSocket || !isOpen(request)) && !hasToken(request)) {
    return unauthorized(request);
  }
  return std::nullopt;
}

Response Gate::login(const Request& request) const {
  const Form form = Form::parse(request.body);
  if (!token_.empty() && !equalInConstantTime(form.exact("token").value_or(""), token_)) {
    return plainText(401, "That is not the access token of the server.\n");
  }
  Response response = plainText(204, "");
  response.headers.add("Set-Cookie",
                       cookieName(request) + "=" + cookie_ + "; Path=/; HttpOnly; SameSite=Strict");
  return response;
}

}  // namespace orvik::server
