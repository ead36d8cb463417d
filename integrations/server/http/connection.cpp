// SPDX-License-Identifier: MIT
#include "integrations/server/http/connection.h"

#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/asio/post.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/websocket/rfc6455.hpp>
#include <cerrno>
#include <exception>
#include <utility>

#include "integrations/server/http/request_head.h"
#include "integrations/server/http/web_socket_session.h"

namespace orvik::server {
namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using boost::system::error_code;
using namespace std::chrono_literals;  // NOLINT(google-build-using-namespace)

constexpr std::size_t kReadSize = 4096;
constexpr std::size_t kBodyReadSize = 32'768;
/// What is sent before other connections have their turn.
constexpr std::size_t kTurn = 1 << 20;
constexpr std::size_t kTurnOfMadeBody = 131'072;
/// After the last answer the client gets some time to read it: closing a socket with unread input
/// would take the answer away from it.
constexpr auto kLastBytesTime = 2s;
constexpr std::size_t kLastBytes = 1 << 20;

std::string addressOf(const asio::ip::tcp::socket& socket, bool& isLocal) {
  error_code failed;
  asio::ip::address address = socket.remote_endpoint(failed).address();
  if (failed) return "";
  if (address.is_v6() && address.to_v6().is_v4_mapped()) {
    address = asio::ip::make_address_v4(asio::ip::v4_mapped, address.to_v6());
  }
  isLocal = address.is_loopback();
  return address.to_string();
}

}  // namespace

Connection::Connection(Network& network, asio::ip::tcp::socket socket)
    : network_(network), socket_(std::move(socket)) {
  client_ = addressOf(socket_, isLocal_);
}

void Connection::start() {
  network_.peers.add(shared_from_this());
  error_code ignored;
  socket_.set_option(asio::ip::tcp::no_delay(true), ignored);
  nextRequest();
}

void Connection::shut() {
  if (phase_ == Phase::kShut) return;
  phase_ = Phase::kShut;
  error_code ignored;
  socket_.close(ignored);
  network_.peers.remove(*this);
}

void Connection::check(Clock::time_point now) {
  if (now < deadline_) return;
  switch (phase_) {
    case Phase::kReply:
    case Phase::kShut:
      return;
    case Phase::kRestOfRequest:
      cancelRead();
      return refuse(plainText(408, "The request took too long to arrive.\n"));
    case Phase::kSending:
      if (clientStillTakes()) {
        deadline_ = now + network_.limits.stallTime;
        return;
      }
      break;
    case Phase::kRequest:
    case Phase::kLastBytes:
      break;
  }
  if (phase_ == Phase::kSending) dropUnsent();
  shut();
}

/// What has not been sent is dropped at once, instead of staying with the system for minutes.
void Connection::dropUnsent() {
  error_code ignored;
  socket_.set_option(asio::socket_base::linger(true, 0), ignored);
}

/// A read that goes on would use the buffer together with the next one.
void Connection::cancelRead() {
  error_code ignored;
  socket_.cancel(ignored);
}

/// A slow client can take from the system's buffer for long before there is room for more.
bool Connection::clientStillTakes() {
  const int before = unsent_;
  return ioctl(socket_.native_handle(), SIOCOUTQ, &unsent_) == 0 && unsent_ < before;
}

void Connection::nextRequest() {
  parser_.emplace();
  parser_->eager(true);
  parser_->header_limit(static_cast<std::uint32_t>(network_.limits.headerBytes));
  parser_->body_limit(network_.limits.bodyBytes);
  headersAreChecked_ = false;
  phase_ = Phase::kRequest;
  if (buffer_.size() > 0) return parse();
  buffer_.shrink_to_fit();
  deadline_ = Clock::now() + network_.limits.idleTime;
  network_.peers.setIdle(*this, true);
  read();
}

void Connection::read() {
  // Bodies come in larger parts than headers.
  const std::size_t size = headersAreChecked_ ? kBodyReadSize : kReadSize;
  socket_.async_read_some(buffer_.prepare(size),
                          [self = shared_from_this()](error_code failed, std::size_t bytes) {
                            if (self->phase_ > Phase::kRestOfRequest) return;
                            if (failed) return self->shut();
                            self->buffer_.commit(bytes);
                            self->parse();
                          });
}

void Connection::parse() {
  if (phase_ == Phase::kRequest) {
    // Some clients end a body with an empty line that belongs to nothing.
    while (buffer_.size() > 0) {
      const char first = *static_cast<const char*>(buffer_.data().data());
      if (first != '\r' && first != '\n') break;
      buffer_.consume(1);
    }
    if (buffer_.size() == 0) return read();
    phase_ = Phase::kRestOfRequest;
    deadline_ = Clock::now() + network_.limits.requestTime;
  }
  while (buffer_.size() > 0 && !parser_->is_done()) {
    error_code fault;
    const std::size_t parsed = parser_->put(buffer_.data(), fault);
    buffer_.consume(parsed);
    if (fault && fault != http::error::need_more) return refuse(answerToFault(fault));
    if (parser_->is_header_done() && !headersAreChecked_) {
      headersAreChecked_ = true;
      if (auto answer = faultOfHeaders(parser_->get())) return refuse(std::move(*answer));
      if (!parser_->is_done()) sendContinue();
    }
    if (fault || parsed == 0) break;
  }
  if (phase_ == Phase::kShut) return;
  if (parser_->is_done()) return handle();
  // The parser itself does not limit what stands between the chunks of a body.
  if (buffer_.size() > network_.limits.headerBytes + kReadSize) {
    return refuse(plainText(400, "The request is not well formed.\n"));
  }
  read();
}

void Connection::sendContinue() {
  if (parser_->get().version() == 10 || parser_->get().count(http::field::expect) == 0) return;
  constexpr std::string_view kContinue = "HTTP/1.1 100 Continue\r\n\r\n";
  // All that was sent before has left: the few bytes have room in an empty buffer.
  const ssize_t sent = ::send(socket_.native_handle(), kContinue.data(), kContinue.size(),
                              MSG_NOSIGNAL | MSG_DONTWAIT);
  if (sent != static_cast<ssize_t>(kContinue.size())) shut();
}

Reply Connection::makeReply() {
  return Reply([loop = network_.loop, connection = weak_from_this()](Response response) {
    asio::post(*loop, [connection, response = std::move(response)]() mutable {
      const auto self = connection.lock();
      if (self && self->phase_ == Phase::kReply) self->respond(std::move(response));
    });
  });
}

void Connection::handle() {
  const bool keepAlive = parser_->keep_alive();
  Message message = parser_->release();
  Request request = requestFrom(message);
  request.client = client_;
  request.isLocal = isLocal_;
  rules_ = {request.method == "HEAD", message.version() == 11, keepAlive};
  phase_ = Phase::kReply;
  network_.peers.setIdle(*this, false);
  const bool opensWebSocket = boost::beast::websocket::is_upgrade(message);
  if (auto answer = network_.gate.refusal(request, opensWebSocket)) {
    return respond(std::move(*answer));
  }
  if (opensWebSocket) return openWebSocket(request, message);
  request.body = std::move(message.body());
  try {
    network_.handler(std::move(request), makeReply());
  } catch (const std::exception& fault) {
    // The reply answers 500 when it goes.
    reportFault("a request", fault.what());
  }
}

void Connection::openWebSocket(const Request& request, const Message& message) {
  // Nobody may send before the answer: it would be lost on the way to the other protocol.
  if (buffer_.size() > 0) return refuse(answerToFault({}));
  const auto session = std::make_shared<WebSocketSession>(network_);
  std::shared_ptr<WebSocketUser> user;
  try {
    if (network_.sockets) user = network_.sockets(request, session);
  } catch (const std::exception& fault) {
    reportFault("a WebSocket", fault.what());
    return respond(plainText(500, "The server has failed to answer this request.\n"));
  }
  if (user == nullptr) {
    session->close();
    return respond(plainText(404, "There is no WebSocket here.\n"));
  }
  phase_ = Phase::kShut;
  network_.peers.remove(*this);
  session->start(std::move(socket_), message, std::move(user));
}

void Connection::refuse(Response response) {
  rules_.isHead = parser_->is_header_done() && parser_->get().method() == http::verb::head;
  rules_.allowsChunks = false;
  rules_.keepAlive = false;
  respond(std::move(response));
}

void Connection::respond(Response response) {
  phase_ = Phase::kSending;
  network_.peers.setIdle(*this, false);
  deadline_ = Clock::now() + network_.limits.stallTime;
  recall_.reset();
  const auto* const shared = std::get_if<SharedBytes>(&response.body);
  recalled_ = shared != nullptr ? shared->recalled : std::stop_token();
  response_.emplace(std::move(response), rules_);
  if (recalled_.stop_possible()) {
    recall_.emplace(recalled_, [weak = weak_from_this(), loop = network_.loop] {
      asio::post(*loop, [weak] {
        if (const auto self = weak.lock()) self->breakOffRecalled();
      });
    });
  }
  send();
}

void Connection::breakOffRecalled() {
  // Unless another answer is on its way already.
  if (phase_ != Phase::kSending || !recalled_.stop_requested()) return;
  dropUnsent();
  shut();
}

void Connection::send() {
  try {
    std::size_t left = response_->isMade() ? kTurnOfMadeBody : kTurn;
    for (auto parts = response_->pending(); !parts.empty(); parts = response_->pending()) {
      if (left == 0) {
        asio::post(*network_.loop, [self = shared_from_this()] {
          if (self->phase_ == Phase::kSending) self->send();
        });
        return;
      }
      std::array<iovec, 4> some{};
      std::size_t count = 0;
      for (const iovec& part : parts) {
        if (left == 0) break;
        some.at(count) = {part.iov_base, std::min(part.iov_len, left)};
        left -= some.at(count++).iov_len;
      }
      msghdr message{};
      message.msg_iov = some.data();
      message.msg_iovlen = count;
      const ssize_t sent =
          ::sendmsg(socket_.native_handle(), &message, MSG_NOSIGNAL | MSG_DONTWAIT);
      if (sent < 0 && errno == EINTR) continue;
      if (sent < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return waitUntilWritable();
      if (sent < 0) return shut();
      response_->sent(static_cast<std::size_t>(sent));
      deadline_ = Clock::now() + network_.limits.stallTime;
    }
  } catch (const std::exception& fault) {
    reportFault("the body of an answer", fault.what());
    return shut();
  }
  afterResponse();
}

void Connection::waitUntilWritable() {
  ioctl(socket_.native_handle(), SIOCOUTQ, &unsent_);
  socket_.async_wait(asio::socket_base::wait_write, [self = shared_from_this()](error_code failed) {
    if (self->phase_ != Phase::kSending) return;
    if (failed) return self->shut();
    self->send();
  });
}

void Connection::afterResponse() {
  const bool keepAlive = response_->keepsAlive();
  response_.reset();
  if (keepAlive) {
    // By the loop, so that a row of requests that were sent ahead does not keep others waiting.
    phase_ = Phase::kRequest;
    deadline_ = Clock::now() + network_.limits.requestTime;
    asio::post(*network_.loop, [self = shared_from_this()] {
      if (self->phase_ == Phase::kRequest) self->nextRequest();
    });
    return;
  }
  phase_ = Phase::kLastBytes;
  deadline_ = Clock::now() + kLastBytesTime;
  network_.peers.setIdle(*this, true);
  error_code failed;
  socket_.shutdown(asio::ip::tcp::socket::shutdown_send, failed);
  if (failed) return shut();
  buffer_.clear();
  discardLastBytes();
}

void Connection::discardLastBytes() {
  socket_.async_read_some(buffer_.prepare(kBodyReadSize),
                          [self = shared_from_this()](error_code failed, std::size_t bytes) {
                            if (self->phase_ != Phase::kLastBytes) return;
                            self->discarded_ += bytes;
                            if (failed || self->discarded_ > kLastBytes) return self->shut();
                            self->discardLastBytes();
                          });
}

}  // namespace orvik::server
