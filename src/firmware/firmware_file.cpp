// SPDX-License-Identifier: MIT
#include "firmware/firmware_file.h"

#include <string>

#include "firmware/firmware_image.h"
#include "settings/file_system.h"

namespace orvik::firmware {

std::optional<std::vector<std::uint8_t>> readFirmwareFile(const char* path) {
  using settings::FileSystem;
  std::string text;
  if (path == nullptr ||
      FileSystem::system().read(path, kMaxImageBytes, text) != FileSystem::Read::kDone ||
      text.empty()) {
    return std::nullopt;
  }
  return std::vector<std::uint8_t>(text.begin(), text.end());
}

}  // namespace orvik::firmware
