// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace orvik::firmware {

/// Reads a firmware file. Any thread.
/// @return none when there is no such file, it is empty, larger than any camera's memory, or not a
///         regular file.
std::optional<std::vector<std::uint8_t>> readFirmwareFile(const char* path);

}  // namespace orvik::firmware
