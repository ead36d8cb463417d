// SPDX-License-Identifier: MIT
// Files that are part of the program: the page with its style and scripts.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "integrations/server/http/message.h"

namespace orvik::server {

struct Asset {
  std::string_view name;  ///< of the file, with the folders below the one that was built in
  std::span<const std::uint8_t> bytes;
  std::string_view contentType;
  std::string_view etag;  ///< of the contents, in quotes
};

/// The files that orvik_server_assets() in CMake has built into this program.
std::span<const Asset> embeddedAssets();

/// Null if there is none of that name.
const Asset* findAsset(std::span<const Asset> assets, std::string_view name);

/// Answers a GET or HEAD with the asset, or with 304 if the client has it already. Browsers ask
/// each time, so that they never mix the files of two versions.
Response assetResponse(const Request& request, const Asset& asset);

/// The type of a file by the end of its name.
std::string_view contentTypeOf(std::string_view name);

/// Whether a header If-None-Match names the tag.
bool matchesTag(std::string_view ifNoneMatch, std::string_view etag);

}  // namespace orvik::server
