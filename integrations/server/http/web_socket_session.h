// SPDX-License-Identifier: MIT
// A WebSocket on its connection. Includes Boost: for sources of this folder only.
#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/websocket/stream.hpp>
#include <chrono>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "integrations/server/http/network.h"
#include "integrations/server/http/peers.h"
#include "integrations/server/http/web_socket.h"

namespace orvik::server {

/// Users may hold it for longer than the connection, and even the server, exists.
class WebSocketSession final : public WebSocket,
                               public Peer,
                               public std::enable_shared_from_this<WebSocketSession> {
 public:
  explicit WebSocketSession(Network& network) : loop_(network.loop), network_(network) {}

  using Upgrade = boost::beast::http::request<boost::beast::http::string_body>;
  /// Takes over a connection whose client has asked for a WebSocket.
  void start(boost::asio::ip::tcp::socket socket, const Upgrade& upgrade,
             std::shared_ptr<WebSocketUser> user);

  void sendText(std::string text) override;
  void sendBinary(std::string head, std::shared_ptr<const std::string> bytes) override;
  [[nodiscard]] std::size_t waiting() const override;
  void close() override;

  void shut() override;
  void check(std::chrono::steady_clock::time_point) override {}

 private:
  struct Message {
    bool isText = false;
    std::string head;
    std::shared_ptr<const std::string> bytes;
  };
  enum class State { kOpening, kOpen, kClosing, kClosed };

  void queue(Message message);
  void post(void (WebSocketSession::*function)());
  void pump();
  void written(bool failed);
  void sayGoodbye();
  void read();
  void heard(bool failed);
  template <typename Function>
  void tellUser(Function function);
  void operationEnded();

  std::shared_ptr<boost::asio::io_context> loop_;

  // The network thread's.
  Network& network_;  ///< is gone when the state is kClosed
  std::shared_ptr<WebSocketUser> user_;
  std::optional<boost::beast::websocket::stream<boost::beast::tcp_stream>> stream_;
  boost::beast::flat_buffer heard_;
  State state_ = State::kOpening;
  std::size_t operations_ = 0;  ///< that use the stream
  Message current_;
  bool isWriting_ = false;

  mutable std::mutex mutex_;
  std::deque<Message> queue_;
  std::size_t waiting_ = 0;  ///< the queue and the message that is being written
  std::size_t textBytes_ = 0;
  bool takesMore_ = true;
};

}  // namespace orvik::server
