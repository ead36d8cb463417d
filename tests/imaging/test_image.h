// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "imaging/file_system.h"
#include "imaging/image.h"
#include "imaging/image_encoder.h"

namespace orvik::imaging {

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

/// The machine's file system, with a record of its calls. One kind of call fails, or the disk is
/// full from some offset on.
class FaultyFileSystem : public FileSystem {
 public:
  using Path = std::filesystem::path;

  std::vector<std::string> calls;
  std::string failing;
  int error = EIO;
  std::uint64_t room = std::numeric_limits<std::uint64_t>::max();
  std::function<void()> beforeRename = [] {};

  int open(const Path& file, Open how) override {
    return fails("open") ? errno = error, -1 : FileSystem::open(file, how);
  }
  int write(int descriptor, std::uint64_t offset, std::span<const std::uint8_t> bytes) override {
    const std::size_t fits = std::min(bytes.size(), room - std::min(room, offset));
    if (fails("write") || FileSystem::write(descriptor, offset, bytes.first(fits)) != 0)
      return error;
    return fits < bytes.size() ? ENOSPC : 0;
  }
  int sync(int file) override { return fails("sync") ? error : FileSystem::sync(file); }
  int close(int file) override {
    const int failed = FileSystem::close(file);
    return fails("close") ? error : failed;
  }
  int rename(const Path& from, const Path& to) override {
    return fails("rename") ? error : FileSystem::rename(from, to);
  }
  int renameToNew(const Path& from, const Path& to) override {
    beforeRename();
    return fails("rename to new") ? error : FileSystem::renameToNew(from, to);
  }

 private:
  bool fails(const char* call) {
    calls.emplace_back(call);
    return error != 0 && call == failing;
  }
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

/// What an encoder makes of an image.
inline std::vector<std::uint8_t> encoded(ImageEncoder encode, const Image& image) {
  std::vector<std::uint8_t> bytes;
  GatheringSink sink([&](std::span<const std::uint8_t> piece) {
    bytes.insert(bytes.end(), piece.begin(), piece.end());
  });
  encode(image, sink);
  sink.flush();
  return bytes;
}

inline std::vector<std::uint8_t> contentsOf(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace orvik::imaging
