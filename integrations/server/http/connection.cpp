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
#include <boost/beast/http/rfc7230.hpp>
#include <boost/beast/websocket/rfc6455.hpp>
#include <cerrno>
#include <exception>
#include <utility>

#include "integrations/server/http/form.h"
#include "integrations/server/http/request_target.h"
#include "integrations/server/http/web_socket_session.h"

namespace orvik::server {
namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using boost::system::error_code;
using namespace std::chrono_literals;  // NOLINT(google-build-using-namespace)

constexpr std::size_t kReadSize = 4096;
constexpr std::size_t kBodyReadSize = 32 * 1024;
/// What is sent before other connections have their turn.
constexpr std::size_t kTurn = 1 << 20;
constexpr std::size_t kTurnOfMadeBody = 128 * 1024;
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

std::string_view viewOf(boost::beast::string_view text) { return {text.data(), text.size()}; }

Response answerTo(const error_code& fault) {
  if (fault == http::error::header_limit) {
    return plainText(431, "The headers of the request are too long.\n");
  }
  if (fault == http::error::body_limit) {
    return plainText(413, "The body of the request is too long.\n");
  }
  if (fault == http::error::bad_version) return plainText(505, "This server speaks HTTP/1.1.\n");
  return plainText(400, "The request is not well formed.\n");
}

}  // namespace

Connection::Connection(Network& network, asio::ip::tcp::socket socket)
    : network_(network), socket_(std::move(socket)), client_(addressOf(socket_, isLocal_)) {}

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
  int unsent = 0;
  if (ioctl(socket_.native_handle(), SIOCOUTQ, &unsent) != 0) return false;
  return std::exchange(unsentBefore_, unsent) > unsent;
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
    network_.peers.setIdle(*this, false);
  }
  while (buffer_.size() > 0 && !parser_->is_done()) {
    error_code fault;
    const std::size_t parsed = parser_->put(buffer_.data(), fault);
    buffer_.consume(parsed);
    if (fault && fault != http::error::need_more) return refuse(answerTo(fault));
    if (parser_->is_header_done() && !headersAreChecked_) {
      headersAreChecked_ = true;
      if (auto answer = faultOfHeaders()) return refuse(std::move(*answer));
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

std::optional<Response> Connection::faultOfHeaders() const {
  const Message& message = parser_->get();
  const unsigned version = message.version();
  if (version != 10 && version != 11) return plainText(505, "This server speaks HTTP/1.1.\n");
  switch (message.method()) {
    case http::verb::get:
    case http::verb::head:
    case http::verb::put:
    case http::verb::post:
    case http::verb::delete_:
    case http::verb::options:
    case http::verb::patch:
      break;
    default:
      return plainText(400, "The server does not know this method.\n");
  }
  if (!parseTarget(viewOf(message.target()))) {
    return plainText(400, "The path is not well formed.\n");
  }
  const auto hosts = message.count(http::field::host);
  if (hosts > 1 || (hosts == 0 && version == 11)) {
    return plainText(400, "The request has to name one host.\n");
  }
  // Servers that disagree about the end of a request would take its rest for another one.
  const auto encodings = message.count(http::field::transfer_encoding);
  if (encodings > 1 ||
      (encodings == 1 &&
       (version == 10 || !parser_->chunked() ||
        !equalInAnyCase(viewOf(message[http::field::transfer_encoding]), "chunked")))) {
    return plainText(400, "The server does not know this transfer encoding.\n");
  }
  const auto expected = viewOf(message[http::field::expect]);
  if (!expected.empty() && !equalInAnyCase(expected, "100-continue")) {
    return plainText(417, "The server cannot do what the request expects.\n");
  }
  return std::nullopt;
}

void Connection::sendContinue() {
  if (parser_->get().version() == 10 || parser_->get().count(http::field::expect) == 0) return;
  constexpr std::string_view kContinue = "HTTP/1.1 100 Continue\r\n\r\n";
  // All that was sent before has left: the few bytes have room in an empty buffer.
  const ssize_t sent = ::send(socket_.native_handle(), kContinue.data(), kContinue.size(),
                              MSG_NOSIGNAL | MSG_DONTWAIT);
  if (sent != static_cast<ssize_t>(kContinue.size())) shut();
}

Request Connection::takeRequest(const Message& message) {
  const auto target = parseTarget(viewOf(message.target())).value();
  Request request;
  request.method = std::string(viewOf(message.method_string()));
  request.path = target.path;
  request.query = target.query;
  if (!target.host.empty()) request.headers.add("Host", std::string(target.host));
  for (const auto& field : message) {
    // The host of a whole address counts instead of the header.
    if (field.name() == http::field::host && !target.host.empty()) continue;
    request.headers.add(std::string(viewOf(field.name_string())),
                        std::string(viewOf(field.value())));
  }
  request.client = client_;
  request.isLocal = isLocal_;
  return request;
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
  Request request = takeRequest(message);
  rules_ = {request.method == "HEAD", message.version() == 11, keepAlive};
  phase_ = Phase::kReply;
  const bool opensWebSocket = boost::beast::websocket::is_upgrade(message);
  if (auto answer = network_.gate.refusal(request, opensWebSocket)) {
    return respond(std::move(*answer));
  }
  if (opensWebSocket) return openWebSocket(std::move(request), std::move(message));
  request.body = std::move(message.body());
  try {
    network_.handler(std::move(request), makeReply());
  } catch (const std::exception& fault) {
    // The reply answers 500 when it goes.
    reportFault("a request", fault.what());
  }
}

void Connection::openWebSocket(Request request, Message message) {
  // Nobody may send before the answer: it would be lost on the way to the other protocol.
  if (buffer_.size() > 0) return refuse(answerTo({}));
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
  unsentBefore_ = 0;
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
