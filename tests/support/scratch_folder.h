// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <span>
#include <string>
#include <vector>

namespace orvik::test {

/// A separate folder for the files of a test, deleted at the end.
class ScratchFolder {
 public:
  ScratchFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "orvik-test-XXXXXX").string();
    if (mkdtemp(name.data()) != nullptr) path_ = name;
  }
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  [[nodiscard]] std::string file(const std::string& name) const { return (path_ / name).string(); }
  [[nodiscard]] std::string path() const { return path_.string(); }
  /// @return the number of files in the folder.
  [[nodiscard]] std::ptrdiff_t count() const {
    return std::distance(std::filesystem::directory_iterator(path_), {});
  }

 private:
  std::filesystem::path path_;
};

inline std::vector<std::uint8_t> bytesOfFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

inline void writeFile(const std::string& path, std::span<const std::uint8_t> bytes) {
  std::ofstream out(path, std::ios::binary);
  std::copy(bytes.begin(), bytes.end(), std::ostreambuf_iterator<char>(out));
}

}  // namespace orvik::test
