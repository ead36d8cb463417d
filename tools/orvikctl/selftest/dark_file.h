// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>

namespace orvik::ctl::selftest {

/// Writes a dark frame without any signal: an 8-bit bitmap of zeros.
///
/// @throws Failure (kFileFailed) if it cannot be written
void writeBlackDark(const std::filesystem::path& path, int width, int height);

}  // namespace orvik::ctl::selftest
