// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace orvik::imaging {

/// Takes the bytes of a file from the first to the last, in pieces of any size. So an encoder needs
/// no memory for a whole file.
class ByteSink {
 public:
  ByteSink() = default;
  ByteSink(const ByteSink&) = delete;
  ByteSink& operator=(const ByteSink&) = delete;
  virtual ~ByteSink() = default;

  /// Takes the next piece. Throws what keeps the bytes from where they go.
  virtual void write(std::span<const std::uint8_t> bytes) = 0;
};

/// Passes the bytes on in few large pieces: small ones are gathered, large ones are not copied.
class GatheringSink final : public ByteSink {
 public:
  using Write = std::function<void(std::span<const std::uint8_t>)>;

  /// @param write takes the pieces; may throw
  explicit GatheringSink(Write write) : write_(std::move(write)) {}

  void write(std::span<const std::uint8_t> bytes) override;
  /// Passes on what is left.
  void flush();

 private:
  Write write_;
  std::vector<std::uint8_t> gathered_;
};

}  // namespace orvik::imaging
