// SPDX-License-Identifier: MIT
#include "integrations/server/http/web_socket_session.h"

#include <netinet/tcp.h>
#include <sys/socket.h>

#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/asio/post.hpp>
#include <boost/beast/websocket/rfc6455.hpp>
#include <exception>
#include <utility>

namespace orvik::server {
namespace {

namespace asio = boost::asio;
namespace websocket = boost::beast::websocket;
using boost::system::error_code;

constexpr std::size_t kMaxReceived = 65'536;
constexpr std::size_t kMaxWaitingText = 1 << 20;
/// What the system takes ahead of the line: little, so that waiting() follows the line closely, and
/// answers to pings are not far behind.
constexpr int kSentAhead = 128 * 1024;

}  // namespace

void WebSocketSession::start(asio::ip::tcp::socket socket, const Upgrade& upgrade,
                             std::shared_ptr<WebSocketUser> user) {
  setsockopt(socket.native_handle(), IPPROTO_TCP, TCP_NOTSENT_LOWAT, &kSentAhead,
             sizeof kSentAhead);
  user_ = std::move(user);
  stream_.emplace(std::move(socket));
  network_.peers.add(shared_from_this());
  network_.peers.setIdle(*this, false);
  stream_->set_option(
      websocket::stream_base::timeout{network_.limits.requestTime, network_.limits.pongTime, true});
  stream_->set_option(websocket::stream_base::decorator([](websocket::response_type& response) {
    response.set(boost::beast::http::field::server, "orvik-server");
  }));
  stream_->read_message_max(kMaxReceived);
  stream_->auto_fragment(false);
  ++operations_;
  stream_->async_accept(upgrade, [self = shared_from_this()](error_code failed) {
    if (self->state_ == State::kOpening) {
      if (failed) {
        self->shut();
      } else {
        self->state_ = State::kOpen;
        self->read();
        self->pump();
      }
    }
    self->operationEnded();
  });
}

void WebSocketSession::sendText(std::string text) { queue({true, std::move(text), nullptr}); }

void WebSocketSession::sendBinary(std::string head, std::shared_ptr<const std::string> bytes) {
  queue({false, std::move(head), std::move(bytes)});
}

void WebSocketSession::queue(Message message) {
  bool isTooMuch = false;
  {
    const std::lock_guard lock(mutex_);
    if (!takesMore_) return;
    if (message.isText) textBytes_ += message.head.size();
    isTooMuch = textBytes_ > kMaxWaitingText;
    if (isTooMuch) {
      takesMore_ = false;
    } else {
      queue_.push_back(std::move(message));
      ++waiting_;
    }
  }
  post(isTooMuch ? &WebSocketSession::shut : &WebSocketSession::pump);
}

std::size_t WebSocketSession::waiting() const {
  const std::lock_guard lock(mutex_);
  return waiting_;
}

void WebSocketSession::close() {
  {
    const std::lock_guard lock(mutex_);
    if (!takesMore_) return;
    takesMore_ = false;
  }
  post(&WebSocketSession::pump);
}

void WebSocketSession::post(void (WebSocketSession::*function)()) {
  asio::post(*loop_, [session = weak_from_this(), function] {
    if (const auto self = session.lock()) (self.get()->*function)();
  });
}

void WebSocketSession::pump() {
  if (state_ != State::kOpen || isWriting_) return;
  {
    const std::lock_guard lock(mutex_);
    if (queue_.empty()) {
      if (takesMore_) return;
    } else {
      current_ = std::move(queue_.front());
      queue_.pop_front();
      isWriting_ = true;
    }
  }
  if (!isWriting_) return sayGoodbye();
  stream_->text(current_.isText);
  std::array<asio::const_buffer, 2> parts = {asio::buffer(current_.head), asio::const_buffer()};
  if (current_.bytes != nullptr) parts[1] = asio::buffer(*current_.bytes);
  ++operations_;
  stream_->async_write(parts, [self = shared_from_this()](error_code failed, std::size_t) {
    self->written(!!failed);
    self->operationEnded();
  });
}

void WebSocketSession::written(bool failed) {
  isWriting_ = false;
  const std::size_t size = current_.isText ? current_.head.size() : 0;
  current_ = {};
  bool isDrained = false;
  {
    const std::lock_guard lock(mutex_);
    if (state_ != State::kClosed) {
      --waiting_;
      textBytes_ -= size;
    }
    isDrained = waiting_ == 0 && takesMore_;
  }
  if (failed) return shut();
  if (isDrained) tellUser([](WebSocketUser& user) { user.drained(); });
  pump();
}

void WebSocketSession::sayGoodbye() {
  state_ = State::kClosing;
  ++operations_;
  stream_->async_close(websocket::close_code::normal, [self = shared_from_this()](error_code) {
    self->shut();
    self->operationEnded();
  });
}

void WebSocketSession::read() {
  ++operations_;
  stream_->async_read(heard_, [self = shared_from_this()](error_code failed, std::size_t) {
    self->heard(!!failed);
    self->operationEnded();
  });
}

void WebSocketSession::heard(bool failed) {
  // The client says goodbye, or the one who answers ours has done so.
  if (failed) return shut();
  if (state_ != State::kOpen && state_ != State::kClosing) return;
  if (!stream_->got_text()) return shut();
  const auto bytes = heard_.data();
  const std::string_view text(static_cast<const char*>(bytes.data()), bytes.size());
  if (state_ == State::kOpen) tellUser([text](WebSocketUser& user) { user.received(text); });
  heard_.clear();
  if (state_ != State::kClosed) read();
}

template <typename Function>
void WebSocketSession::tellUser(Function function) {
  if (user_ == nullptr) return;
  try {
    function(*user_);
  } catch (const std::exception& fault) {
    reportFault("a WebSocket", fault.what());
    shut();
  }
}

void WebSocketSession::shut() {
  if (state_ == State::kClosed || !stream_) return;
  state_ = State::kClosed;
  {
    const std::lock_guard lock(mutex_);
    takesMore_ = false;
    queue_.clear();
    waiting_ = 0;
    textBytes_ = 0;
  }
  const auto self = shared_from_this();
  boost::beast::get_lowest_layer(*stream_).close();
  network_.peers.remove(*this);
  if (const auto user = std::exchange(user_, nullptr)) {
    try {
      user->closed();
    } catch (const std::exception& fault) {
      reportFault("a WebSocket", fault.what());
    }
  }
}

/// The stream goes when nothing uses it any more, on the network thread.
void WebSocketSession::operationEnded() {
  if (--operations_ == 0 && state_ == State::kClosed) stream_.reset();
}

}  // namespace orvik::server
