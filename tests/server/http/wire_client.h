// SPDX-License-Identifier: MIT
// A client that sends and receives bytes as they are.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace orvik::server {

/// An answer as it came. The status is 0 if the connection ended before the answer did.
struct WireAnswer {
  int status = 0;
  std::map<std::string, std::string> headers;  ///< names in lower case
  std::string body;
};

/// Every call ends after some seconds at the latest.
class WireClient {
 public:
  explicit WireClient(std::uint16_t port, int receiveBuffer = 0) {
    if (receiveBuffer > 0) {
      setsockopt(socket_, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
    }
    constexpr timeval kDeadline{20, 0};
    setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &kDeadline, sizeof kDeadline);
    setsockopt(socket_, SOL_SOCKET, SO_SNDTIMEO, &kDeadline, sizeof kDeadline);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    isConnected_ =
        connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  }
  ~WireClient() { hangUp(); }
  WireClient(WireClient&& other) noexcept
      : socket_(std::exchange(other.socket_, -1)),
        isConnected_(other.isConnected_),
        received_(std::move(other.received_)) {}
  WireClient& operator=(WireClient&&) = delete;

  [[nodiscard]] bool isConnected() const { return isConnected_; }

  void hangUp() {
    if (socket_ >= 0) close(std::exchange(socket_, -1));
  }

  bool send(std::string_view bytes) {
    while (!bytes.empty()) {
      const ssize_t sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
      if (sent <= 0) return false;
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
  }

  /// So many bytes; fewer if the connection ends.
  std::string read(std::size_t size) {
    while (received_.size() < size && more()) {
    }
    return take(size);
  }

  std::string readUntil(std::string_view end) {
    std::size_t at = 0;
    while ((at = received_.find(end)) == std::string::npos) {
      if (!more()) return "";
    }
    return take(at + end.size());
  }

  std::string readToEnd() {
    while (more()) {
    }
    return take(received_.size());
  }

  /// Whether the server has ended the connection, and nothing was left to read.
  bool isEnded() { return readToEnd().empty() && !timedOut_; }

  WireAnswer readAnswer(bool isHead = false) {
    WireAnswer answer;
    const std::string head = readUntil("\r\n\r\n");
    if (!head.starts_with("HTTP/1.1 ")) return answer;
    std::size_t at = head.find("\r\n") + 2;
    while (head.compare(at, 2, "\r\n") != 0) {
      const std::size_t colon = head.find(": ", at);
      const std::size_t end = head.find("\r\n", at);
      std::string name = head.substr(at, colon - at);
      for (char& c : name) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
      answer.headers[name] = head.substr(colon + 2, end - colon - 2);
      at = end + 2;
    }
    const int status = std::atoi(head.c_str() + 9);
    if (status < 200 || status == 204 || status == 304 || isHead) {
      answer.status = status;
    } else if (answer.headers.count("transfer-encoding") != 0) {
      if (readChunks(answer.body)) answer.status = status;
    } else if (answer.headers.count("content-length") != 0) {
      const std::size_t size = std::stoul(answer.headers["content-length"]);
      answer.body = read(size);
      if (answer.body.size() == size) answer.status = status;
    } else {
      answer.body = readToEnd();
      answer.status = status;
    }
    return answer;
  }

  WireAnswer ask(std::string_view request, bool isHead = false) {
    return send(request) ? readAnswer(isHead) : WireAnswer{};
  }

 private:
  bool more() {
    char bytes[16384];
    const ssize_t size = recv(socket_, bytes, sizeof bytes, 0);
    timedOut_ = size < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
    if (size > 0) received_.append(bytes, static_cast<std::size_t>(size));
    return size > 0;
  }

  std::string take(std::size_t size) {
    std::string taken = received_.substr(0, size);
    received_.erase(0, size);
    return taken;
  }

  bool readChunks(std::string& body) {
    for (;;) {
      const std::string line = readUntil("\r\n");
      if (line.empty()) return false;
      const std::size_t size = std::stoul(line, nullptr, 16);
      const std::string chunk = read(size + 2);
      if (chunk.size() != size + 2 || !chunk.ends_with("\r\n")) return false;
      if (size == 0) return true;
      body.append(chunk, 0, size);
    }
  }

  int socket_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  bool isConnected_ = false;
  bool timedOut_ = false;
  std::string received_;
};

}  // namespace orvik::server
