// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace orvik::simcam {

/// A TCP connection, or a listening socket. The destructor closes it. shutdown() may be called from
/// any thread; it ends the calls that are blocked in other threads.
class Socket {
 public:
  explicit Socket(int descriptor) : descriptor_(descriptor) {}
  Socket(Socket&& other) noexcept;
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;
  ~Socket();

  /// Listens on an IPv4 address.
  /// @param port 0 for any free port
  /// @return none on failure; `error` is then the reason
  static std::optional<Socket> listenOn(const std::string& address, std::uint16_t port,
                                        std::string& error);

  /// Waits for the next connection. @return none after shutdown().
  [[nodiscard]] std::optional<Socket> accept() const;
  /// The port that it listens on.
  [[nodiscard]] std::uint16_t port() const;

  /// Waits until all of `bytes` have been received. @return false when the connection has ended
  [[nodiscard]] bool read(std::span<std::uint8_t> bytes) const;
  /// Sends both, one after the other. @return false when the connection has ended.
  [[nodiscard]] bool write(std::span<const std::uint8_t> head,
                           std::span<const std::uint8_t> tail = {}) const;

  void shutdown() const;

 private:
  int descriptor_;
};

}  // namespace orvik::simcam
