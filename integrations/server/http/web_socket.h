// SPDX-License-Identifier: MIT
// WebSockets as the rest of the server sees them.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "integrations/server/http/message.h"

namespace orvik::server {

/// An open WebSocket. Any thread. What is sent after it was closed is dropped.
class WebSocket {
 public:
  virtual ~WebSocket() = default;
  /// Queues a text message. A client that lets more than a mebibyte of texts wait is closed.
  virtual void sendText(std::string text) = 0;
  /// Queues a binary message: `head` and then `bytes`, which many sockets can share.
  virtual void sendBinary(std::string head, std::shared_ptr<const std::string> bytes) = 0;
  /// Messages that have not left for the client's machine yet.
  [[nodiscard]] virtual std::size_t waiting() const = 0;
  virtual void close() = 0;
};

/// What happens on a WebSocket. All on the network thread: the functions must return at once.
class WebSocketUser {
 public:
  virtual ~WebSocketUser() = default;
  /// A text message of at most 64 KiB, valid UTF-8.
  virtual void received(std::string_view text) = 0;
  /// The last queued message has left for the client's machine.
  virtual void drained() = 0;
  /// It is closed: the client has gone, did not answer pings for some seconds, or has broken the
  /// protocol; or close() was called. Nothing follows.
  virtual void closed() = 0;
};

/// Decides about a client that wants to open a WebSocket; null answers 404. The user exists until
/// closed() was called.
using WebSocketHandler = std::function<std::shared_ptr<WebSocketUser>(
    const Request& request, std::shared_ptr<WebSocket> socket)>;

}  // namespace orvik::server
