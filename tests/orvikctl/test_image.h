// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "tools/orvikctl/output/image.h"

namespace orvik::ctl {

/// A folder of its own for each test, removed afterwards.
class FileTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string name = (std::filesystem::temp_directory_path() / "orvikctl-XXXXXX").string();
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    folder_ = name;
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  [[nodiscard]] std::filesystem::path file(const std::string& name) const { return folder_ / name; }
  [[nodiscard]] std::size_t filesInFolder() const {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder_),
                                                  std::filesystem::directory_iterator()));
  }

 private:
  std::filesystem::path folder_;
};

/// An image of distinct bytes; it owns its pixels.
struct TestImage {
  ImageInfo info;
  std::vector<std::uint8_t> bytes;

  TestImage(int width, int height, IMG_TYPE type) : bytes(imageBytes(width, height, type)) {
    for (std::size_t i = 0; i < bytes.size(); ++i)
      bytes[i] = static_cast<std::uint8_t>(i * 7 + i / 251);
    info.instrument = "Vek T15C";
    info.width = width;
    info.height = height;
    info.type = type;
    info.pixelSizeUm = 3.75;
    info.exposure = std::chrono::milliseconds(2500);
    info.gain = 200;
    // 2024-02-29T12:34:56.789
    info.start = std::chrono::system_clock::time_point(std::chrono::milliseconds(1709210096789));
  }

  [[nodiscard]] Image image() const { return {info, bytes}; }
  /// Sample `i` of a 16-bit image, put together from its two bytes.
  [[nodiscard]] int word(std::size_t i) const { return bytes[2 * i] + 256 * bytes[2 * i + 1]; }
};

inline std::vector<std::uint8_t> contentsOf(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace orvik::ctl
