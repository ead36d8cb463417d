// SPDX-License-Identifier: MIT
// Files that clients download.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "integrations/server/http/file_descriptor.h"
#include "integrations/server/http/message.h"

namespace orvik::server {

/// Opens a file by its name below a folder, for reading. No descriptor if there is none.
///
/// `name` may have folders in it. It never leads out of the folder: names with "..", hidden files,
/// absolute names and symbolic links are as if they did not exist; so is what is no plain file.
/// @param folder a descriptor of the folder
FileDescriptor openInFolder(int folder, std::string_view name);

/// Answers a GET or HEAD with the contents of a file, which the browser stores under the name. A
/// single range of bytes can be asked for, to go on with a download that was broken off.
///
/// The file counts as long as it is now. If it is cut while it is sent, the connection ends.
Response fileResponse(const Request& request, FileDescriptor file, std::string_view name);

/// The first byte of a range and the one behind its last.
using ByteRange = std::pair<std::uint64_t, std::uint64_t>;
/// Understands a header Range for a file of `size` bytes. Nothing if it is absent, not a single
/// range, or malformed: the whole file is sent then. An empty range if none of it is in the file.
std::optional<ByteRange> parseRange(std::string_view header, std::uint64_t size);

}  // namespace orvik::server
