// SPDX-License-Identifier: MIT
#include "imaging/read/byte_source.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "imaging/errors.h"

namespace orvik::imaging {
namespace {

constexpr std::size_t kPipeChunk = std::size_t{1} << 20;

/// A file that can be read at any offset.
class FileBytes final : public ByteSource {
 public:
  FileBytes(std::string name, int descriptor, std::uint64_t size)
      : ByteSource(std::move(name)), descriptor_(descriptor), size_(size) {}
  ~FileBytes() override { ::close(descriptor_); }
  FileBytes(const FileBytes&) = delete;
  FileBytes& operator=(const FileBytes&) = delete;

  [[nodiscard]] std::uint64_t size() const override { return size_; }

  std::size_t readSome(std::uint64_t offset, std::span<std::uint8_t> bytes) override {
    std::size_t done = 0;
    while (done < bytes.size()) {
      const ssize_t count = ::pread(descriptor_, bytes.data() + done, bytes.size() - done,
                                    static_cast<off_t>(offset + done));
      if (count == 0) break;
      if (count > 0) {
        done += static_cast<std::size_t>(count);
      } else if (errno != EINTR) {
        fail(std::generic_category().message(errno));
      }
    }
    return done;
  }

 private:
  int descriptor_;
  std::uint64_t size_;
};

/// @return 0 or an errno
int readPipe(int descriptor, std::vector<std::uint8_t>& bytes) {
  for (;;) {
    const std::size_t before = bytes.size();
    if (before > kMostMemory) return EFBIG;
    bytes.resize(before + kPipeChunk);
    const ssize_t count = ::read(descriptor, bytes.data() + before, kPipeChunk);
    const int error = errno;
    bytes.resize(before + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    if (count == 0) return 0;
    if (count < 0 && error != EINTR) return error;
  }
}

}  // namespace

void ByteSource::readAll(std::uint64_t offset, std::span<std::uint8_t> bytes) {
  if (offset > size() || size() - offset < bytes.size() || readSome(offset, bytes) < bytes.size()) {
    fail("it is cut short: it has " + std::to_string(size()) + " bytes, not " +
         std::to_string(offset + bytes.size()));
  }
}

void ByteSource::fail(const std::string& reason) const {
  throw FileError("cannot read " + name_ + ": " + reason + ".");
}

std::size_t MemoryBytes::readSome(std::uint64_t offset, std::span<std::uint8_t> bytes) {
  if (offset >= bytes_.size()) return 0;
  const auto part = std::span(bytes_).subspan(static_cast<std::size_t>(offset));
  const std::size_t count = std::min(part.size(), bytes.size());
  std::ranges::copy(part.first(count), bytes.begin());
  return count;
}

std::unique_ptr<ByteSource> openBytes(const std::filesystem::path& file) {
  const bool isInput = file == "-";
  std::string name = isInput ? "standard input" : file.string();
  // A pipe without a writer is waited for: this is what its reader wants.
  const int descriptor = isInput ? ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                                 : ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
  const int openError = errno;
  if (descriptor < 0) {
    MemoryBytes(std::move(name), {}).fail(std::generic_category().message(openError));
  }
  struct stat status {};
  const bool isKnown = ::fstat(descriptor, &status) == 0;
  if (isKnown && S_ISREG(status.st_mode)) {
    return std::make_unique<FileBytes>(std::move(name), descriptor,
                                       static_cast<std::uint64_t>(status.st_size));
  }
  std::vector<std::uint8_t> bytes;
  const int error = isKnown && S_ISDIR(status.st_mode) ? EISDIR : readPipe(descriptor, bytes);
  ::close(descriptor);
  auto source = std::make_unique<MemoryBytes>(std::move(name), std::move(bytes));
  if (error != 0) source->fail(std::generic_category().message(error));
  return source;
}

}  // namespace orvik::imaging
