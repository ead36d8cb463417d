// SPDX-License-Identifier: MIT
#include "firmware/firmware_file.h"

#include <string>

#include "base/file_system.h"
#include "firmware/firmware_image.h"

namespace orvik::firmware {

std::optional<std::vector<std::uint8_t>> readFirmwareFile(const char* path) {
  std::string text;
  if (path == nullptr ||
      FileSystem::system().read(path, kMaxImageBytes, text) != FileSystem::Read::kDone ||
      text.empty()) {
    return std::nullopt;
  }
  return std::vector<std::uint8_t>(text.begin(), text.end());
}

}  // namespace orvik::firmware
