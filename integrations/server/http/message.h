// SPDX-License-Identifier: MIT
// HTTP as the rest of the server sees it: a request that has arrived whole, and its answer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace orvik::server {

/// The headers of a message, in their order. Names are compared in any case.
class Headers {
 public:
  void add(std::string name, std::string value) {
    list_.emplace_back(std::move(name), std::move(value));
  }
  /// The value of the first header of this name, "" if there is none.
  [[nodiscard]] std::string_view get(std::string_view name) const;
  [[nodiscard]] const std::vector<std::pair<std::string, std::string>>& list() const {
    return list_;
  }

 private:
  std::vector<std::pair<std::string, std::string>> list_;
};

/// A request whose headers and body are within the server's limits.
struct Request {
  std::string method;  ///< "GET", "HEAD", "PUT", ...
  std::string path;    ///< as sent: begins with '/', is not decoded, has no query
  std::string query;   ///< as sent, without '?'
  Headers headers;
  std::string body;
  std::string client;    ///< address of the sender, without port: "192.168.1.5"
  bool isLocal = false;  ///< whether it came over the loopback interface
};

/// A body that is made while it is sent. One thread at a time.
class BodySource {
 public:
  virtual ~BodySource() = default;
  /// Appends the next part to `chunk`, a few tens of kilobytes; nothing at the end. It must return
  /// within a few milliseconds, since other clients wait meanwhile. If it throws, the connection is
  /// closed, so that the client sees that the body is incomplete.
  virtual void next(std::string& chunk) = 0;
  /// The length of the whole body, if it is known before. A body that turns out shorter or longer
  /// ends the connection.
  [[nodiscard]] virtual std::optional<std::uint64_t> size() const { return std::nullopt; }
};

/// Bytes that are sent from where they lie, after a short text.
struct SharedBytes {
  std::string head;
  std::span<const std::uint8_t> bytes;
  std::shared_ptr<const void> owner;  ///< keeps `bytes` alive until they are sent
  /// Requested when the memory is needed: the connection is closed, whatever is left to be sent,
  /// and the owner is let go.
  std::stop_token recalled{};
};

/// The answer to a request.
struct Response {
  int status = 200;
  std::string contentType = "text/plain; charset=utf-8";
  Headers headers{};  ///< further ones; length, connection and date are added when it is sent
  std::variant<std::string, SharedBytes, std::shared_ptr<BodySource>> body{};
};

/// An answer of plain text.
Response plainText(int status, std::string text);
/// An answer in JSON, UTF-8.
Response jsonText(std::string text);

/// Where the answer to one request goes. Move only.
class Reply {
 public:
  using Send = std::function<void(Response)>;

  explicit Reply(Send send) : send_(std::move(send)) {}
  Reply(Reply&& other) noexcept : send_(std::exchange(other.send_, nullptr)) {}
  Reply& operator=(Reply&& other) noexcept {
    std::swap(send_, other.send_);
    return *this;
  }
  Reply(const Reply&) = delete;
  Reply& operator=(const Reply&) = delete;
  /// Answers 500 if nothing else has.
  ~Reply();

  /// Sends the answer, once. Any thread. If the client has gone the answer is dropped.
  void operator()(Response response);

 private:
  Send send_;
};

/// Answers requests. It is called on the server's network thread and must return at once: what has
/// to wait moves the Reply to a thread of its own.
using Handler = std::function<void(Request request, Reply reply)>;

}  // namespace orvik::server
