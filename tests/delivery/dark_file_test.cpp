// SPDX-License-Identifier: MIT
#include "delivery/dark_file.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <numeric>

#include "support/scratch_folder.h"

namespace orvik::test {
namespace {

constexpr int kWidth = 6;  // not a multiple of 4, but rows have no padding
constexpr int kHeight = 5;
constexpr std::size_t kPixels = 30;

using Bytes = std::vector<std::uint8_t>;

Bytes picture() {
  Bytes pixels(kPixels);
  std::iota(pixels.begin(), pixels.end(), std::uint8_t{200});
  return pixels;
}

/// Limits the size of every file that this process writes, which simulates a full disk. The limit
/// applies during the lifetime of the object.
class SmallFilesOnly {
 public:
  explicit SmallFilesOnly(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit small{.rlim_cur = bytes, .rlim_max = before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
  }
  ~SmallFilesOnly() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }
  SmallFilesOnly(const SmallFilesOnly&) = delete;
  SmallFilesOnly& operator=(const SmallFilesOnly&) = delete;

 private:
  rlimit before_{};
  void (*handler_)(int);
};

class DarkFileTest : public ::testing::Test {
 protected:
  DarkFileResult readChanged(std::size_t at, const Bytes& bytes) {
    Bytes file = good_;
    std::copy(bytes.begin(), bytes.end(), file.begin() + static_cast<std::ptrdiff_t>(at));
    return read(file);
  }
  DarkFileResult read(const Bytes& file) {
    const std::string name = folder_.file("changed.bmp");
    writeFile(name, file);
    Bytes pixels(kPixels);
    return readDarkFile(name, kWidth, kHeight, pixels);
  }

  ScratchFolder folder_;
  std::string path_ = folder_.file("dark.bmp");
  Bytes good_ = [this] {
    EXPECT_TRUE(writeDarkFile(path_, kWidth, kHeight, picture()));
    return bytesOfFile(path_);
  }();
};

TEST_F(DarkFileTest, ByTheByte) {
  Bytes wanted = {'B', 'M', 0x54, 4, 0, 0, 0, 0, 0, 0, 0x36, 4, 0, 0,  // 1108 bytes, pixels at 1078
                  40,  0,   0,    0, 6, 0, 0, 0, 5, 0, 0,    0, 1, 0, 8, 0, 0, 0, 0, 0,
                  30,  0,   0,    0, 0, 0, 0, 0, 0, 0, 0,    0, 0, 1, 0, 0, 0, 0, 0, 0};
  for (int i = 0; i < 256; ++i) {
    const auto grey = static_cast<std::uint8_t>(i);
    wanted.insert(wanted.end(), {grey, grey, grey, 0});
  }
  const Bytes pixels = picture();
  wanted.insert(wanted.end(), pixels.begin(), pixels.end());
  EXPECT_EQ(good_, wanted);

  Bytes back(kPixels);
  EXPECT_EQ(readDarkFile(path_, kWidth, kHeight, back), DarkFileResult::kDone);
  EXPECT_EQ(back, pixels);
}

TEST_F(DarkFileTest, RefusesWhatIsNoDarkOfThisSensor) {
  EXPECT_EQ(readChanged(0, {'M', 'B'}), DarkFileResult::kNotUsable);
  EXPECT_EQ(readChanged(14, {12}), DarkFileResult::kNotUsable) << "a header of another kind";
  EXPECT_EQ(readChanged(18, {7}), DarkFileResult::kOtherSize);
  EXPECT_EQ(readChanged(22, {0xFB, 0xFF, 0xFF, 0xFF}), DarkFileResult::kOtherSize) << "-5 rows";
  EXPECT_EQ(readChanged(18, {0xFF, 0xFF, 0xFF, 0x7F, 0xFF, 0xFF, 0xFF, 0x7F}),
            DarkFileResult::kOtherSize);
  EXPECT_EQ(readChanged(28, {24}), DarkFileResult::kNotUsable);
  EXPECT_EQ(readChanged(30, {1}), DarkFileResult::kNotUsable) << "run-length encoded";
  EXPECT_EQ(readChanged(10, {53, 0}), DarkFileResult::kNotUsable) << "pixels inside the header";
  EXPECT_EQ(readChanged(10, {0x37, 4}), DarkFileResult::kNotUsable) << "pixels beyond the end";
  EXPECT_EQ(readChanged(10, {0xFF, 0xFF, 0xFF, 0xFF}), DarkFileResult::kNotUsable);
  EXPECT_EQ(readChanged(2, {0, 0, 0, 0}), DarkFileResult::kDone) << "sizes that nothing hangs on";
  for (std::size_t length = 0; length < good_.size(); ++length) {
    Bytes cut = good_;
    cut.resize(length);
    ASSERT_EQ(read(cut), DarkFileResult::kNotUsable) << "cut off after " << length;
  }
}

TEST_F(DarkFileTest, WhatIsNoFile) {
  Bytes pixels(kPixels);
  EXPECT_EQ(readDarkFile(folder_.file("none.bmp"), kWidth, kHeight, pixels),
            DarkFileResult::kCannotOpen);
  EXPECT_EQ(readDarkFile(folder_.path(), kWidth, kHeight, pixels), DarkFileResult::kNotUsable);
  const std::string pipe = folder_.file("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(readDarkFile(pipe, kWidth, kHeight, pixels), DarkFileResult::kNotUsable);
  EXPECT_FALSE(writeDarkFile(pipe, kWidth, kHeight, picture())) << "and the pipe stays one";
  EXPECT_FALSE(writeDarkFile(folder_.path(), kWidth, kHeight, picture()));
  EXPECT_FALSE(writeDarkFile(folder_.file("no/folder.bmp"), kWidth, kHeight, picture()));
  EXPECT_EQ(folder_.count(), 2) << "no temporary file is left";
}

/// A disk that loses power when a file is renamed. Data that has not been synced is lost.
class PowerCut final : public FileSystem {
 public:
  bool sync(int descriptor) override {
    isOnDisk_ = FileSystem::sync(descriptor);
    return isOnDisk_;
  }
  bool rename(const std::filesystem::path& from, const std::filesystem::path& to) override {
    if (!isOnDisk_) std::filesystem::resize_file(from, 0);
    return FileSystem::rename(from, to);
  }

 private:
  bool isOnDisk_ = false;
};

TEST_F(DarkFileTest, AFileIsOnTheDiskBeforeItHasItsName) {
  PowerCut files;
  EXPECT_TRUE(writeDarkFile(path_, kWidth, kHeight, picture(), files));
  EXPECT_EQ(bytesOfFile(path_), good_);
}

TEST_F(DarkFileTest, AFailedSaveLeavesTheOldFile) {
  const SmallFilesOnly limit(1000);
  EXPECT_FALSE(writeDarkFile(path_, kWidth, kHeight, Bytes(kPixels)));
  EXPECT_EQ(bytesOfFile(path_), good_);
  EXPECT_EQ(folder_.count(), 1);
}

}  // namespace
}  // namespace orvik::test
