// SPDX-License-Identifier: MIT
// Names of files, as they come from browsers and from the disk.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace orvik::server {

/// Whether a text is the plain name of a file: no path, not hidden, valid UTF-8 without control
/// characters.
bool isPlainName(std::string_view name);

/// Whether a name has an ending of captures: `.fits`, `.png` or `.ser`.
bool hasCaptureEnding(std::string_view name);

/// The beginning of the names of new files that a user's text stands for: without spaces around it,
/// and without an ending of captures; "capture" for an empty text. Empty if names cannot begin so:
/// then characters are in it that some system does not allow in names, or it is too long.
std::string beginningOf(std::string_view text);

/// The number in NUMBER of "BEGINNING NUMBER ENDING", which stand without spaces between them; 0
/// for other names.
std::int64_t numberIn(std::string_view name, std::string_view beginning, std::string_view ending);

}  // namespace orvik::server
