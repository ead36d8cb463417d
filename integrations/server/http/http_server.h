// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "integrations/server/http/gate.h"
#include "integrations/server/http/message.h"
#include "integrations/server/http/web_socket.h"

namespace orvik::server {

/// What one client, and all of them together, may demand.
struct HttpLimits {
  std::size_t headerBytes = 16'384;
  std::size_t bodyBytes = 65'536;
  /// One more takes the place of the one that has kept the server waiting for a request for
  /// longest; without such one it is refused.
  std::size_t connections = 2048;
  /// For the headers and body of a request, from its first byte on.
  std::chrono::seconds requestTime{10};
  /// Between two requests of a connection.
  std::chrono::seconds idleTime{60};
  /// In which a client has to take at least some bytes of an answer.
  std::chrono::seconds stallTime{20};
  /// After which a WebSocket is given up whose client sends nothing and does not answer pings.
  std::chrono::seconds pongTime{10};
};

/// An address to listen on.
struct ListenAddress {
  std::string host = "127.0.0.1";  ///< IPv4 or IPv6 address, without brackets
  std::uint16_t port = 11111;      ///< 0 for any free one
};

/// A server for HTTP/1.0 and 1.1 and WebSockets, which does all its work on one thread of its own.
class HttpServer {
 public:
  /// @param handler answers requests that the gate lets in
  /// @throws std::system_error if the address cannot be listened on
  HttpServer(const ListenAddress& address, Gate gate, Handler handler, WebSocketHandler sockets,
             HttpLimits limits = {});
  /// Closes all connections and ends the thread.
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  /// Where it listens, with the port that was chosen.
  [[nodiscard]] const ListenAddress& address() const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace orvik::server
