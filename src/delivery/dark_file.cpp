// SPDX-License-Identifier: MIT
#include "delivery/dark_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <filesystem>
#include <string_view>

namespace orvik {
namespace {

constexpr std::size_t kFileHeaderBytes = 14;
constexpr std::size_t kInfoHeaderBytes = 40;
constexpr std::size_t kHeaderBytes = kFileHeaderBytes + kInfoHeaderBytes;
constexpr std::size_t kPaletteBytes = 1024;
constexpr std::size_t kPixelOffset = kHeaderBytes + kPaletteBytes;

using Header = std::array<std::uint8_t, kPixelOffset>;

// Offsets of the numbers in the header.
constexpr std::size_t kFileSizeAt = 2;
constexpr std::size_t kPixelOffsetAt = 10;
constexpr std::size_t kHeaderSizeAt = 14;
constexpr std::size_t kWidthAt = 18;
constexpr std::size_t kHeightAt = 22;
constexpr std::size_t kPlanesAt = 26;
constexpr std::size_t kDepthAt = 28;
constexpr std::size_t kCompressionAt = 30;
constexpr std::size_t kImageSizeAt = 34;
constexpr std::size_t kColoursAt = 46;

void put(Header& header, std::size_t at, std::size_t bytes, std::uint32_t value) {
  for (std::size_t i = 0; i < bytes; ++i) {
    header[at + i] = static_cast<std::uint8_t>(value >> 8 * i);
  }
}

std::uint32_t number(std::span<const std::uint8_t> header, std::size_t at, std::size_t bytes) {
  std::uint32_t value = 0;
  for (std::size_t i = bytes; i-- > 0;) value = value << 8U | header[at + i];
  return value;
}

Header headerOf(int width, int height) {
  const auto pixels = static_cast<std::uint32_t>(width) * static_cast<std::uint32_t>(height);
  Header header{'B', 'M'};
  put(header, kFileSizeAt, 4, pixels + static_cast<std::uint32_t>(kPixelOffset));
  put(header, kPixelOffsetAt, 4, static_cast<std::uint32_t>(kPixelOffset));
  put(header, kHeaderSizeAt, 4, static_cast<std::uint32_t>(kInfoHeaderBytes));
  put(header, kWidthAt, 4, static_cast<std::uint32_t>(width));
  put(header, kHeightAt, 4, static_cast<std::uint32_t>(height));
  put(header, kPlanesAt, 2, 1);
  put(header, kDepthAt, 2, 8);
  put(header, kImageSizeAt, 4, pixels);
  put(header, kColoursAt, 4, 256);
  for (std::size_t i = 0; i < 256; ++i) {
    for (std::size_t channel = 0; channel < 3; ++channel) {
      header[kHeaderBytes + 4 * i + channel] = static_cast<std::uint8_t>(i);
    }
  }
  return header;
}

class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) ::close(number_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  [[nodiscard]] bool isOpen() const { return number_ >= 0; }
  [[nodiscard]] int number() const { return number_; }

  [[nodiscard]] bool isRegularFile() const {
    struct stat status {};
    return fstat(number_, &status) == 0 && S_ISREG(status.st_mode);
  }
  [[nodiscard]] std::size_t readAt(std::uint64_t offset, std::span<std::uint8_t> bytes) const {
    std::size_t done = 0;
    while (done < bytes.size()) {
      const ssize_t count = pread(number_, bytes.data() + done, bytes.size() - done,
                                  static_cast<off_t>(offset + done));
      if (count < 0 && errno == EINTR) continue;
      if (count <= 0) break;
      done += static_cast<std::size_t>(count);
    }
    return done;
  }

 private:
  int number_;
};

/// Whether a file can be written to `path`: nothing is there, or a regular file.
bool isReplaceable(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 ? S_ISREG(status.st_mode) : errno == ENOENT;
}

/// A name in the same folder as `path` that no other writer uses, in this process or another.
std::string temporaryName(const std::string& path) {
  static std::atomic<unsigned> count{0};
  return path + ".part-" + std::to_string(getpid()) + "-" + std::to_string(count++);
}

std::string_view textOf(std::span<const std::uint8_t> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

DarkFileResult readDarkFile(const ReadAt& readAt, int width, int height,
                            std::span<std::uint8_t> pixels) {
  std::array<std::uint8_t, kHeaderBytes> header{};
  const std::size_t got = readAt(0, header);
  if (got < kFileHeaderBytes || header[0] != 'B' || header[1] != 'M' || got < kHeaderBytes) {
    return DarkFileResult::kNotUsable;
  }
  if (number(header, kWidthAt, 4) != static_cast<std::uint32_t>(width) ||
      number(header, kHeightAt, 4) != static_cast<std::uint32_t>(height)) {
    return DarkFileResult::kOtherSize;
  }
  const std::uint32_t offset = number(header, kPixelOffsetAt, 4);
  const bool isPlain = number(header, kDepthAt, 2) == 8 && number(header, kCompressionAt, 4) == 0 &&
                       number(header, kHeaderSizeAt, 4) >= kInfoHeaderBytes &&
                       offset >= kHeaderBytes;
  if (!isPlain || readAt(offset, pixels) != pixels.size()) return DarkFileResult::kNotUsable;
  return DarkFileResult::kDone;
}

DarkFileResult readDarkFile(const std::string& path, int width, int height,
                            std::span<std::uint8_t> pixels) {
  // Without O_NONBLOCK, opening a named pipe would wait for its other end.
  const Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (!file.isOpen()) return DarkFileResult::kCannotOpen;
  if (!file.isRegularFile()) return DarkFileResult::kNotUsable;
  return readDarkFile([&](std::uint64_t offset,
                          std::span<std::uint8_t> bytes) { return file.readAt(offset, bytes); },
                      width, height, pixels);
}

bool writeDarkFile(const std::string& path, int width, int height,
                   std::span<const std::uint8_t> pixels, FileSystem& files) {
  if (!isReplaceable(path)) return false;
  const std::string temporary = temporaryName(path);
  const int file = files.openNew(temporary);
  if (file < 0) return false;
  const bool written = files.write(file, textOf(headerOf(width, height))) &&
                       files.write(file, textOf(pixels)) && files.sync(file);
  files.close(file);
  if (!written || !files.rename(temporary, path)) {
    unlink(temporary.c_str());
    return false;
  }
  // Some file systems cannot make the new name survive a power cut; the file is complete either
  // way.
  const auto folder = std::filesystem::path(path).parent_path();
  files.syncFolder(folder.empty() ? "." : folder);
  return true;
}

}  // namespace orvik
