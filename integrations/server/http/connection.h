// SPDX-License-Identifier: MIT
// A connection of the server for HTTP. Includes Boost: for sources of this folder only.
#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>

#include "integrations/server/http/message.h"
#include "integrations/server/http/network.h"
#include "integrations/server/http/peers.h"
#include "integrations/server/http/response_stream.h"

namespace orvik::server {

/// One client of HTTP: reads a request, has it answered, sends the answer, and so on. Requests that
/// are sent ahead wait in the socket, because nothing is read while an answer is due.
class Connection final : public Peer, public std::enable_shared_from_this<Connection> {
 public:
  Connection(Network& network, boost::asio::ip::tcp::socket socket);

  void start();
  void shut() override;
  void check(std::chrono::steady_clock::time_point now) override;

 private:
  using Clock = std::chrono::steady_clock;
  using Parser = boost::beast::http::request_parser<boost::beast::http::string_body>;
  using Message = Parser::value_type;
  /// What the connection waits for.
  enum class Phase { kRequest, kRestOfRequest, kReply, kSending, kLastBytes, kShut };

  void nextRequest();
  void read();
  void parse();
  void sendContinue();
  void handle();
  [[nodiscard]] Reply makeReply();
  void openWebSocket(const Request& request, const Message& message);

  /// Answers a request that cannot be understood, after which nothing more can be.
  void refuse(Response response);
  void respond(Response response);
  void breakOffRecalled();
  void send();
  void waitUntilWritable();
  void afterResponse();
  void discardLastBytes();
  void cancelRead();
  void dropUnsent();
  [[nodiscard]] bool clientStillTakes();

  Network& network_;
  boost::asio::ip::tcp::socket socket_;
  bool isLocal_ = false;
  std::string client_;
  Phase phase_ = Phase::kRequest;
  Clock::time_point deadline_;
  boost::beast::flat_buffer buffer_;
  std::optional<Parser> parser_;
  bool headersAreChecked_ = false;
  ResponseStream::Rules rules_;
  std::optional<ResponseStream> response_;
  std::stop_token recalled_;  ///< of the memory of the answer
  std::optional<std::stop_callback<std::function<void()>>> recall_;
  int unsent_ = 0;  ///< in the system's buffer when it was looked at last
  std::size_t discarded_ = 0;
};

}  // namespace orvik::server
