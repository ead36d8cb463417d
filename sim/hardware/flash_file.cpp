// SPDX-License-Identifier: MIT
#include "sim/hardware/flash_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace orvik::sim {
namespace {

constexpr std::uint8_t kErased = 0xFF;
constexpr mode_t kFileMode = 0644;

}  // namespace

std::shared_ptr<FlashFile> FlashFile::open(const std::string& path, std::size_t bytes) {
  const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK, kFileMode);
  if (descriptor < 0) return nullptr;
  std::shared_ptr<FlashFile> file(new FlashFile(descriptor));
  return file->prepare(bytes) ? file : nullptr;
}

FlashFile::~FlashFile() { ::close(descriptor_); }

bool FlashFile::prepare(std::size_t bytes) {
  struct stat status = {};
  if (fstat(descriptor_, &status) != 0 || !S_ISREG(status.st_mode)) return false;
  contents_.assign(bytes, kErased);
  if (status.st_size == 0) return store(0, contents_);
  return static_cast<std::size_t>(status.st_size) == bytes && fill();
}

bool FlashFile::fill() {
  std::size_t done = 0;
  while (done < contents_.size()) {
    const ssize_t count = pread(descriptor_, contents_.data() + done, contents_.size() - done,
                                static_cast<off_t>(done));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    done += static_cast<std::size_t>(count);
  }
  return true;
}

// It changes the file, though no member of this class.
// NOLINTNEXTLINE(readability-make-member-function-const)
bool FlashFile::store(std::size_t offset, std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t count =
        pwrite(descriptor_, bytes.data(), bytes.size(), static_cast<off_t>(offset));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    offset += static_cast<std::size_t>(count);
    bytes = bytes.subspan(static_cast<std::size_t>(count));
  }
  return true;
}

}  // namespace orvik::sim
