// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace orvik::firmware {

/// Reads a firmware file. Any thread.
/// @return nothing when the file cannot be read, is empty, larger than the memory of any camera, or
///         not a regular file.
std::optional<std::vector<std::uint8_t>> readFirmwareFile(const char* path);

}  // namespace orvik::firmware
