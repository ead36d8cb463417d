// SPDX-License-Identifier: MIT
#include "integrations/server/http/assets.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "integrations/server/http/form.h"

namespace orvik::server {

const Asset* findAsset(std::span<const Asset> assets, std::string_view name) {
  const auto found = std::find_if(assets.begin(), assets.end(),
                                  [&](const Asset& asset) { return asset.name == name; });
  return found == assets.end() ? nullptr : &*found;
}

Response assetResponse(const Request& request, const Asset& asset) {
  Response response;
  response.headers.add("Cache-Control", "no-cache");
  response.headers.add("ETag", std::string(asset.etag));
  if (matchesTag(request.headers.get("If-None-Match"), asset.etag)) {
    response.status = 304;
    return response;
  }
  response.contentType = asset.contentType;
  response.body = SharedBytes{"", asset.bytes, nullptr};
  return response;
}

std::string_view contentTypeOf(std::string_view name) {
  constexpr std::array<std::pair<std::string_view, std::string_view>, 13> kTypes = {{
      {".html", "text/html; charset=utf-8"},
      {".css", "text/css; charset=utf-8"},
      {".js", "text/javascript; charset=utf-8"},
      {".json", "application/json; charset=utf-8"},
      {".txt", "text/plain; charset=utf-8"},
      {".webmanifest", "application/manifest+json"},
      {".svg", "image/svg+xml"},
      {".ico", "image/x-icon"},
      {".png", "image/png"},
      {".jpg", "image/jpeg"},
      {".fits", "image/fits"},
      {".fit", "image/fits"},
      {".woff2", "font/woff2"},
  }};
  for (const auto& [end, type] : kTypes) {
    if (name.size() > end.size() && equalInAnyCase(name.substr(name.size() - end.size()), end)) {
      return type;
    }
  }
  return "application/octet-stream";
}

bool matchesTag(std::string_view ifNoneMatch, std::string_view etag) {
  if (ifNoneMatch == "*") return true;
  while (!ifNoneMatch.empty()) {
    const std::size_t begin = ifNoneMatch.find('"');
    if (begin == std::string_view::npos) return false;
    const std::size_t end = ifNoneMatch.find('"', begin + 1);
    if (end == std::string_view::npos) return false;
    if (ifNoneMatch.substr(begin, end - begin + 1) == etag) return true;
    ifNoneMatch.remove_prefix(end + 1);
  }
  return false;
}

}  // namespace orvik::server
