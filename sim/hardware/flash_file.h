// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace orvik::sim {

/// A file that keeps the contents of a virtual camera's flash from one run to the next.
class FlashFile {
 public:
  /// Opens the file, or creates it with an erased flash.
  /// @return null if it cannot be opened or created, or has another length.
  static std::shared_ptr<FlashFile> open(const std::string& path, std::size_t bytes);
  ~FlashFile();
  FlashFile(const FlashFile&) = delete;
  FlashFile& operator=(const FlashFile&) = delete;

  /// The contents when it was opened.
  [[nodiscard]] const std::vector<std::uint8_t>& contents() const { return contents_; }
  /// Writes a changed part at once, so that it is kept even if the program is killed.
  bool store(std::size_t offset, std::span<const std::uint8_t> bytes);

 private:
  explicit FlashFile(int descriptor) : descriptor_(descriptor) {}
  bool prepare(std::size_t bytes);
  bool fill();

  int descriptor_;
  std::vector<std::uint8_t> contents_;
};

}  // namespace orvik::sim
