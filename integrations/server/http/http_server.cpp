// SPDX-License-Identifier: MIT
#include "integrations/server/http/http_server.h"

#include <sys/socket.h>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ip/v6_only.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "integrations/server/http/connection.h"
#include "integrations/server/http/network.h"

namespace orvik::server {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;
using namespace std::chrono_literals;  // NOLINT(google-build-using-namespace)

constexpr auto kCheckInterval = 250ms;
/// Before the next try when the system has no descriptor or memory for a connection.
constexpr auto kShortagePause = 100ms;

void throwIf(const error_code& failed, const std::string& what) {
  if (failed) throw std::system_error(failed.value(), std::generic_category(), what);
}

tcp::acceptor listenOn(asio::io_context& loop, const ListenAddress& wanted) {
  const std::string where =
      "cannot listen on " + wanted.host + " port " + std::to_string(wanted.port);
  error_code failed;
  const tcp::endpoint endpoint(asio::ip::make_address(wanted.host, failed), wanted.port);
  throwIf(failed, where);
  tcp::acceptor acceptor(loop);
  acceptor.open(endpoint.protocol(), failed);
  throwIf(failed, where);
  acceptor.set_option(asio::socket_base::reuse_address(true), failed);
  // Where the system has switched it off, :: listens for IPv4 as well.
  if (endpoint.address().is_v6()) acceptor.set_option(asio::ip::v6_only(false), failed);
  acceptor.bind(endpoint, failed);
  throwIf(failed, where);
  acceptor.listen(asio::socket_base::max_listen_connections, failed);
  throwIf(failed, where);
  return acceptor;
}

}  // namespace

void reportFault(std::string_view where, std::string_view what) {
  std::fprintf(stderr, "orvik-server: %.*s has failed: %.*s\n", static_cast<int>(where.size()),
               where.data(), static_cast<int>(what.size()), what.data());
}

class HttpServer::Impl {
 public:
  Impl(const ListenAddress& wanted, Gate gate, Handler handler, WebSocketHandler sockets,
       HttpLimits limits)
      : network_{std::make_shared<asio::io_context>(1),
                 std::move(gate),
                 std::move(handler),
                 std::move(sockets),
                 limits,
                 {}},
        work_(asio::make_work_guard(*network_.loop)),
        acceptor_(listenOn(*network_.loop, wanted)),
        checkTimer_(*network_.loop),
        pauseTimer_(*network_.loop) {
    const tcp::endpoint endpoint = acceptor_.local_endpoint();
    address_ = {endpoint.address().to_string(), endpoint.port()};
    accept();
    checkSoon();
    thread_ = std::thread([this] { run(); });
  }

  ~Impl() {
    asio::post(*network_.loop, [this] {
      error_code ignored;
      acceptor_.close(ignored);
      checkTimer_.cancel();
      pauseTimer_.cancel();
      isEnding_ = true;
      network_.peers.shutAll();
      work_.reset();
    });
    thread_.join();
  }

  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;

  [[nodiscard]] const ListenAddress& address() const { return address_; }

 private:
  void run() {
    for (;;) {
      try {
        network_.loop->run();
        return;
      } catch (const std::exception& fault) {
        reportFault("a connection", fault.what());
      }
    }
  }

  void accept() {
    acceptor_.async_accept([this](error_code failed, tcp::socket socket) {
      if (isEnding_) return;
      if (!failed) {
        begin(std::move(socket));
      } else if (failed == asio::error::no_descriptors || failed == asio::error::no_memory ||
                 failed == asio::error::no_buffer_space || failed.value() == ENFILE) {
        // The client waits in the system's queue until another one has gone.
        network_.peers.shutOldestIdle();
        return acceptAfterPause();
      }
      accept();
    });
  }

  void acceptAfterPause() {
    pauseTimer_.expires_after(kShortagePause);
    pauseTimer_.async_wait([this](error_code) {
      if (!isEnding_) accept();
    });
  }

  void begin(tcp::socket socket) {
    try {
      if (network_.peers.count() >= network_.limits.connections &&
          !network_.peers.shutOldestIdle()) {
        constexpr std::string_view kBusy =
            "HTTP/1.1 503 Service Unavailable\r\nConnection: close\r\nContent-Length: 0\r\n\r\n";
        ::send(socket.native_handle(), kBusy.data(), kBusy.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        return;
      }
      std::make_shared<Connection>(network_, std::move(socket))->start();
    } catch (const std::exception& fault) {
      reportFault("a connection", fault.what());
    }
  }

  void checkSoon() {
    checkTimer_.expires_after(kCheckInterval);
    checkTimer_.async_wait([this](error_code failed) {
      if (failed || isEnding_) return;
      network_.peers.checkAll(std::chrono::steady_clock::now());
      checkSoon();
    });
  }

  Network network_;
  asio::executor_work_guard<asio::io_context::executor_type> work_;
  tcp::acceptor acceptor_;
  asio::steady_timer checkTimer_;
  asio::steady_timer pauseTimer_;
  ListenAddress address_;
  bool isEnding_ = false;
  std::thread thread_;
};

HttpServer::HttpServer(const ListenAddress& address, Gate gate, Handler handler,
                       WebSocketHandler sockets, HttpLimits limits)
    : impl_(std::make_unique<Impl>(address, std::move(gate), std::move(handler), std::move(sockets),
                                   limits)) {}

HttpServer::~HttpServer() = default;

const ListenAddress& HttpServer::address() const { return impl_->address(); }

}  // namespace orvik::server
