// SPDX-License-Identifier: MIT
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace orvik::test {

/// An empty folder that is deleted with this object.
class OwnFolder {
 public:
  OwnFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "orvik-own-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) std::abort();
    path_ = name;
  }
  OwnFolder(const OwnFolder&) = delete;
  OwnFolder& operator=(const OwnFolder&) = delete;
  ~OwnFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

inline std::string contentsOf(const std::filesystem::path& file) {
  std::ostringstream text;
  text << std::ifstream(file, std::ios::binary).rdbuf();
  return std::move(text).str();
}

inline void writeFile(const std::filesystem::path& file, const std::string& contents) {
  std::ofstream(file, std::ios::binary) << contents;
}

}  // namespace orvik::test
