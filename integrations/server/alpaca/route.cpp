// SPDX-License-Identifier: MIT
#include "integrations/server/alpaca/route.h"

#include <charconv>
#include <string>
#include <system_error>

#include "integrations/server/alpaca/error.h"

namespace orvik::server {
namespace {

/// Takes the part up to the next '/', or to the end, from the front of a path.
std::string_view takePart(std::string_view& path) {
  const auto slash = path.find('/');
  const std::string_view part = path.substr(0, slash);
  path.remove_prefix(slash == std::string_view::npos ? path.size() : slash + 1);
  return part;
}

std::optional<int> deviceNumber(std::string_view text) {
  int number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  const bool hasSpareZero = text.size() > 1 && text.front() == '0';
  if (error != std::errc() || stop != end || number < 0 || hasSpareZero || text.front() == '-') {
    return std::nullopt;
  }
  return number;
}

}  // namespace

MemberPath memberPath(std::string_view path) {
  constexpr std::string_view kBegin = "/api/";
  if (!path.starts_with(kBegin)) throw BadRequest("This is no path of the Alpaca interface.");
  path.remove_prefix(kBegin.size());
  if (takePart(path) != "v1") throw BadRequest("Only version 1 of the interface is offered.");
  if (takePart(path) != "camera") throw BadRequest("Only devices of the type camera are offered.");
  const auto number = deviceNumber(takePart(path));
  if (!number) throw BadRequest("The device number is not a number.");
  if (path.empty() || path.find('/') != std::string_view::npos) {
    throw BadRequest("A path ends with the name of a member.");
  }
  return {*number, path};
}

std::optional<int> setupPathNumber(std::string_view path) {
  constexpr std::string_view kBegin = "/setup/v1/camera/";
  if (!path.starts_with(kBegin)) return std::nullopt;
  path.remove_prefix(kBegin.size());
  const auto number = deviceNumber(takePart(path));
  return path == "setup" ? number : std::nullopt;
}

}  // namespace orvik::server
