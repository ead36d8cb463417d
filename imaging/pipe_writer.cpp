// SPDX-License-Identifier: MIT
#include "imaging/pipe_writer.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <limits>
#include <utility>

#include "imaging/errors.h"
#include "imaging/save_file.h"
#include "orvik/orvik.hpp"

namespace orvik::imaging {
namespace {

/// The largest size that a user may give a pipe by default. It saves a switch between the programs
/// for each 64 KiB.
constexpr int kPipeBytes = 1 << 20;

/// A descriptor of its own for standard output, which does not block where that is possible without
/// changing the behaviour of other programs that share standard output.
int openStandardOutput() {
  struct stat status = {};
  if (::fstat(STDOUT_FILENO, &status) == 0 && S_ISFIFO(status.st_mode)) {
    const int own = ::open("/proc/self/fd/1", O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (own >= 0) return own;
  }
  return ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
}

/// How many bytes a write takes without blocking, once poll() has found room.
std::size_t mostAtOnce(int descriptor) {
  struct stat status = {};
  const bool isFile = ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
  const bool blocks = (::fcntl(descriptor, F_GETFL) & O_NONBLOCK) == 0;
  return blocks && !isFile ? PIPE_BUF : std::numeric_limits<int>::max();
}

}  // namespace

PipeWriter PipeWriter::standardOutput(std::stop_token stop) {
  const char* const name = "standard output";
  if (::isatty(STDOUT_FILENO) == 1) {
    throw FileError(
        "standard output is a terminal. Send the frames to a program with |, or to a "
        "file with >.");
  }
  const int descriptor = openStandardOutput();
  if (descriptor < 0) failWrite(name, errno);
  return {descriptor, name, std::move(stop)};
}

PipeWriter PipeWriter::fifo(const std::string& path, std::stop_token stop) {
  constexpr auto kStep = std::chrono::milliseconds(50);
  for (;;) {
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor >= 0) return {descriptor, path, std::move(stop)};
    // A FIFO without a reader says ENXIO.
    if (errno != ENXIO && errno != EINTR) failWrite(path, errno);
    if (!sleepFor(kStep, stop)) throw WriteStopped("no program has read " + path + ".");
  }
}

PipeWriter::PipeWriter(int descriptor, std::string name, std::stop_token stop)
    : descriptor_(descriptor),
      name_(std::move(name)),
      stop_(std::move(stop)),
      mostAtOnce_(mostAtOnce(descriptor)) {
  static_cast<void>(::fcntl(descriptor_, F_SETPIPE_SZ, kPipeBytes));  // if it is a pipe
}

PipeWriter::PipeWriter(PipeWriter&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)),
      name_(std::move(other.name_)),
      stop_(std::move(other.stop_)),
      mostAtOnce_(other.mostAtOnce_),
      deadline_(other.deadline_) {}

PipeWriter::~PipeWriter() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

void PipeWriter::write(std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    waitForRoom();
    const ssize_t written = ::write(descriptor_, bytes.data(), std::min(bytes.size(), mostAtOnce_));
    if (written > 0) bytes = bytes.subspan(static_cast<std::size_t>(written));
    if (written < 0 && errno != EINTR && errno != EAGAIN) fail(errno);
  }
}

void PipeWriter::waitForRoom() {
  constexpr int kSliceMs = 50;  // a stop request does not wake poll()
  for (;;) {
    if (stop_.stop_requested()) {
      if (!deadline_) deadline_ = Clock::now() + kGrace;
      if (Clock::now() >= *deadline_) {
        throw WriteStopped("the reader of " + name_ + " was too slow to take all frames.");
      }
    }
    pollfd room{.fd = descriptor_, .events = POLLOUT, .revents = 0};
    const int ready = ::poll(&room, 1, kSliceMs);
    if (ready < 0 && errno != EINTR) fail(errno);
    if (ready > 0) return;  // also for errors, which write() then tells
  }
}

void PipeWriter::fail(int errorNumber) const {
  if (errorNumber == EPIPE) {
    throw ReaderGone("the program that reads " + name_ + " has ended.");
  }
  failWrite(name_, errorNumber);
}

}  // namespace orvik::imaging
