// SPDX-License-Identifier: MIT
#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace orvik::testing {

using Bytes = std::vector<std::uint8_t>;

/// The importing side of USB/IP, as the kernel and its tools speak it: written from the protocol's
/// description, with offsets in plain numbers.
class UsbipClient {
 public:
  explicit UsbipClient(std::uint16_t port) : socket_(::socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in place{};
    place.sin_family = AF_INET;
    place.sin_port = htons(port);
    place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(::connect(socket_, reinterpret_cast<sockaddr*>(&place), sizeof place), 0);
    const int on = 1;  // messages of a few bytes are sent at once
    ::setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    const timeval timeout{20, 0};
    ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
  }
  /// A connection that exists already.
  struct Connected {
    int socket;
  };
  explicit UsbipClient(Connected connected) : socket_(connected.socket) {}
  UsbipClient(const UsbipClient&) = delete;
  UsbipClient& operator=(const UsbipClient&) = delete;
  ~UsbipClient() { close(); }

  void close() {
    if (socket_ >= 0) ::close(socket_);
    socket_ = -1;
  }

  void send(const Bytes& bytes) const {
    // A server that has hung up is for the reader to notice.
    static_cast<void>(::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL));
  }
  /// Less than `count` when the server has hung up.
  [[nodiscard]] Bytes receive(std::size_t count) const {
    Bytes bytes(count);
    const ssize_t got = ::recv(socket_, bytes.data(), count, MSG_WAITALL);
    bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return bytes;
  }
  /// Whether the server has closed the connection; not if it only stays silent.
  [[nodiscard]] bool hungUp() const {
    char byte = 0;
    const ssize_t got = ::recv(socket_, &byte, 1, 0);
    return got == 0 || (got < 0 && errno == ECONNRESET);
  }

  void sendOperation(std::uint16_t version, std::uint16_t code,
                     const std::string& busId = "") const {
    Bytes bytes(8);
    put(bytes, 0, static_cast<std::uint32_t>(version << 16 | code));
    if (!busId.empty()) {
      Bytes name(busId.begin(), busId.end());
      name.resize(32);
      bytes.insert(bytes.end(), name.begin(), name.end());
    }
    send(bytes);
  }
  /// @return the import's status, 0 for success; the device's record is then in `record`.
  std::uint32_t import(const std::string& busId) {
    sendOperation(0x0111, 0x8003, busId);
    const Bytes head = receive(8);
    if (head.size() != 8) return 0xFFFFFFFF;
    const std::uint32_t status = number(head, 4);
    if (status == 0) record = receive(312);
    return status;
  }

  struct Setup {
    std::uint8_t type, request;
    std::uint16_t value, index;
  };
  void submit(std::uint32_t sequence, std::uint32_t endpoint, bool in, std::uint32_t length,
              Setup setup = {}, const Bytes& data = {}) const {
    Bytes bytes(48);
    put(bytes, 0, 1);
    put(bytes, 4, sequence);
    put(bytes, 12, in ? 1 : 0);
    put(bytes, 16, endpoint);
    put(bytes, 24, length);
    put(bytes, 32, 0xFFFFFFFF);
    const std::array<std::uint16_t, 3> words = {setup.value, setup.index,
                                                static_cast<std::uint16_t>(length)};
    bytes[40] = setup.type;
    bytes[41] = setup.request;
    for (std::size_t i = 0; i < words.size(); ++i) {
      bytes[42 + 2 * i] = static_cast<std::uint8_t>(words[i]);
      bytes[43 + 2 * i] = static_cast<std::uint8_t>(words[i] >> 8);
    }
    bytes.insert(bytes.end(), data.begin(), data.end());
    send(bytes);
  }
  void unlink(std::uint32_t sequence, std::uint32_t target) const {
    Bytes bytes(48);
    put(bytes, 0, 2);
    put(bytes, 4, sequence);
    put(bytes, 20, target);
    send(bytes);
  }

  struct Reply {
    std::uint32_t command = 0;  ///< 0 when the server has hung up
    std::uint32_t sequence = 0;
    std::int32_t status = 0;
    std::uint32_t moved = 0;
  };
  [[nodiscard]] Reply reply() const {
    const Bytes head = receive(48);
    if (head.size() != 48) return {};
    return {number(head, 0), number(head, 4), static_cast<std::int32_t>(number(head, 20)),
            number(head, 24)};
  }

  /// A control transfer to the host. @return its data; empty when it did not succeed.
  Bytes ask(Setup setup, std::uint16_t length) {
    submit(++lastSequence, 0, true, length, setup);
    const Reply answer = reply();
    EXPECT_EQ(answer.command, 3U);
    EXPECT_EQ(answer.sequence, lastSequence);
    Bytes data = receive(answer.moved);
    return answer.status == 0 ? data : Bytes{};
  }
  /// A vendor command without data. @return its status.
  std::int32_t command(std::uint8_t request, std::uint16_t value = 0, std::uint16_t index = 0) {
    submit(++lastSequence, 0, false, 0, {0x40, request, value, index});
    return reply().status;
  }

  static std::uint32_t number(const Bytes& bytes, std::size_t at) {
    std::uint32_t value = 0;
    std::memcpy(&value, &bytes.at(at), sizeof value);
    return ntohl(value);
  }

  Bytes record;
  std::uint32_t lastSequence = 1000;

 private:
  static void put(Bytes& bytes, std::size_t at, std::uint32_t value) {
    const std::uint32_t swapped = htonl(value);
    std::memcpy(&bytes.at(at), &swapped, sizeof swapped);
  }

  int socket_;
};

}  // namespace orvik::testing
