// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace orvik::sim {

/// A file that keeps what a virtual camera's flash holds, byte for byte, from one run to the next.
class FlashFile {
 public:
  /// Opens the file, or makes one of an erased flash.
  /// @return null when it cannot be opened or made, or is a file of another length.
  static std::shared_ptr<FlashFile> open(const std::string& path, std::size_t bytes);
  ~FlashFile();
  FlashFile(const FlashFile&) = delete;
  FlashFile& operator=(const FlashFile&) = delete;

  /// What it held when it was opened.
  [[nodiscard]] const std::vector<std::uint8_t>& contents() const { return contents_; }
  /// Writes a changed part at once, so that even a program that is killed leaves it.
  bool store(std::size_t offset, std::span<const std::uint8_t> bytes);

 private:
  explicit FlashFile(int descriptor) : descriptor_(descriptor) {}
  bool prepare(std::size_t bytes);
  bool fill();

  int descriptor_;
  std::vector<std::uint8_t> contents_;
};

}  // namespace orvik::sim
