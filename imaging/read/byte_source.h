// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace orvik::imaging {

/// The bytes of a file that is read, any part of them at any time.
class ByteSource {
 public:
  /// @param name how messages name the file
  explicit ByteSource(std::string name) : name_(std::move(name)) {}
  ByteSource(const ByteSource&) = delete;
  ByteSource& operator=(const ByteSource&) = delete;
  virtual ~ByteSource() = default;

  [[nodiscard]] virtual std::uint64_t size() const = 0;
  /// Reads from an offset until `bytes` are full or the file ends.
  ///
  /// @return bytes read
  /// @throws FileError if the system cannot read them
  virtual std::size_t readSome(std::uint64_t offset, std::span<std::uint8_t> bytes) = 0;

  /// The same, where the file has to have all of them.
  ///
  /// @throws FileError if the file ends earlier
  void readAll(std::uint64_t offset, std::span<std::uint8_t> bytes);

  /// Throws a FileError: "cannot read NAME: REASON."
  [[noreturn]] void fail(const std::string& reason) const;

 private:
  std::string name_;
};

/// Bytes in memory.
class MemoryBytes final : public ByteSource {
 public:
  MemoryBytes(std::string name, std::vector<std::uint8_t> bytes)
      : ByteSource(std::move(name)), bytes_(std::move(bytes)) {}

  [[nodiscard]] std::uint64_t size() const override { return bytes_.size(); }
  std::size_t readSome(std::uint64_t offset, std::span<std::uint8_t> bytes) override;

 private:
  std::vector<std::uint8_t> bytes_;
};

/// Opens a file; "-" is standard input. What cannot be read at an offset, as a pipe, is read into
/// memory at once.
///
/// @throws FileError if it cannot be opened or read, or is a pipe with more than kMostMemory
std::unique_ptr<ByteSource> openBytes(const std::filesystem::path& file);

/// Bytes of memory that reading an image may take.
constexpr std::uint64_t kMostMemory = std::uint64_t{1} << 30;

}  // namespace orvik::imaging
