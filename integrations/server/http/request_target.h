// SPDX-License-Identifier: MIT
// What a request asks for: `/path?query`, or `http://host/path?query`.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvik::server {

/// A target that was taken apart; the parts are not decoded.
struct RequestTarget {
  std::string_view host;  ///< with the port; empty unless the target names one
  std::string_view path;  ///< begins with '/'
  std::string_view query;
};

/// Takes a target apart. Nothing for what is neither a path nor an http address, and for paths with
/// control characters or the parts "." and ".." in them, encoded ones as well.
std::optional<RequestTarget> parseTarget(std::string_view text);

/// Decodes the `%XX` of a path. Nothing if the path contains a `%` without two hexadecimal digits,
/// or an encoded '/', which must not be taken for a separator.
std::optional<std::string> decodedPath(std::string_view path);

/// The byte that a text encodes with its first three characters, `%XX`.
std::optional<char> percentDecoded(std::string_view text);

}  // namespace orvik::server
