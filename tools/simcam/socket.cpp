// SPDX-License-Identifier: MIT
#include "tools/simcam/socket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

namespace orvik::simcam {
namespace {

// The socket calls take a generic address type.
sockaddr* generic(sockaddr_in* address) {
  return reinterpret_cast<sockaddr*>(
      address);  // NOLINT(cppcoreguidelines-pro-type-reinterpret-cast)
}

}  // namespace

Socket::Socket(Socket&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}

Socket::~Socket() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

std::optional<Socket> Socket::listenOn(const std::string& address, std::uint16_t port,
                                       std::string& error) {
  sockaddr_in place{};
  place.sin_family = AF_INET;
  place.sin_port = htons(port);
  if (inet_pton(AF_INET, address.c_str(), &place.sin_addr) != 1) {
    error = "'" + address + "' is not an IPv4 address.";
    return std::nullopt;
  }
  Socket socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const int on = 1;
  // Otherwise the port stays in use for a minute after the server has ended.
  ::setsockopt(socket.descriptor_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  constexpr int kBacklog = 8;
  if (socket.descriptor_ < 0 || ::bind(socket.descriptor_, generic(&place), sizeof place) != 0 ||
      ::listen(socket.descriptor_, kBacklog) != 0) {
    error = address + ":" + std::to_string(port) + ": " + std::generic_category().message(errno);
    return std::nullopt;
  }
  return socket;
}

std::optional<Socket> Socket::accept() const {
  for (;;) {
    const int descriptor = ::accept4(descriptor_, nullptr, nullptr, SOCK_CLOEXEC);
    if (descriptor >= 0) {
      const int on = 1;
      // Replies are whole messages, which must not be delayed until a packet is full.
      ::setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
      return Socket(descriptor);
    }
    if (errno != EINTR && errno != ECONNABORTED) return std::nullopt;
  }
}

std::uint16_t Socket::port() const {
  sockaddr_in place{};
  socklen_t length = sizeof place;
  if (::getsockname(descriptor_, generic(&place), &length) != 0) return 0;
  return ntohs(place.sin_port);
}

bool Socket::read(std::span<std::uint8_t> bytes) const {
  while (!bytes.empty()) {
    const ssize_t count = ::recv(descriptor_, bytes.data(), bytes.size(), 0);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    bytes = bytes.subspan(static_cast<std::size_t>(count));
  }
  return true;
}

bool Socket::write(std::span<const std::uint8_t> head, std::span<const std::uint8_t> tail) const {
  std::array<std::span<const std::uint8_t>, 2> parts = {head, tail};
  while (!parts[0].empty() || !parts[1].empty()) {
    std::array<iovec, 2> vectors{};
    for (std::size_t i = 0; i < parts.size(); ++i) {
      vectors.at(i) = {const_cast<std::uint8_t*>(parts.at(i).data()), parts.at(i).size()};
    }
    msghdr message{};
    message.msg_iov = vectors.data();
    message.msg_iovlen = vectors.size();
    const ssize_t count = ::sendmsg(descriptor_, &message, MSG_NOSIGNAL);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return false;
    auto gone = static_cast<std::size_t>(count);
    for (auto& part : parts) {
      const std::size_t here = std::min(gone, part.size());
      part = part.subspan(here);
      gone -= here;
    }
  }
  return true;
}

void Socket::shutdown() const { ::shutdown(descriptor_, SHUT_RDWR); }

}  // namespace orvik::simcam
