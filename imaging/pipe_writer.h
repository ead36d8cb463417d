// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <stop_token>
#include <string>

namespace orvik::imaging {

/// Writes to a pipe, a FIFO, or whatever standard output is. It never blocks for longer than its
/// reader takes bytes: when a stop is requested, the reader has kGrace to take what is left. The
/// program must ignore SIGPIPE. One thread at a time.
class PipeWriter {
 public:
  static constexpr std::chrono::milliseconds kGrace{400};

  /// Standard output. @throws FileError if it is a terminal, which would show the bytes
  static PipeWriter standardOutput(std::stop_token stop);
  /// A FIFO. Waits until a program has opened it for reading.
  /// @throws FileError if it cannot be opened, WriteStopped if a stop is requested before
  static PipeWriter fifo(const std::string& path, std::stop_token stop);

  /// @param descriptor is closed by this object
  /// @param name as messages give it
  PipeWriter(int descriptor, std::string name, std::stop_token stop);
  ~PipeWriter();
  PipeWriter(PipeWriter&& other) noexcept;
  PipeWriter(const PipeWriter&) = delete;
  PipeWriter& operator=(const PipeWriter&) = delete;
  PipeWriter& operator=(PipeWriter&&) = delete;

  /// Writes all bytes.
  /// @throws ReaderGone, WriteStopped, FileError; some of the bytes may have been written
  void write(std::span<const std::uint8_t> bytes);

  /// Waits until some bytes can be written. @throws WriteStopped, FileError
  void waitForRoom();

  /// Gives the reader kGrace once more, for the end of the stream.
  void allowGrace() { deadline_.reset(); }

 private:
  using Clock = std::chrono::steady_clock;

  [[noreturn]] void fail(int errorNumber) const;

  int descriptor_;
  std::string name_;
  std::stop_token stop_;
  std::size_t mostAtOnce_;  ///< bytes that a write takes without blocking
  std::optional<Clock::time_point> deadline_;
};

}  // namespace orvik::imaging
