// SPDX-License-Identifier: MIT
// A large image over loopback: from the server, as bytes that lie in memory and as a body that is
// made while it is sent, and from a plain loop of blocking send() calls, which is what loopback can
// do.
#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "integrations/server/http/http_server.h"

namespace {

using namespace orvik::server;  // NOLINT(google-build-using-namespace)

/// The image of a camera with 36 megapixels, 16 bits each.
constexpr std::size_t kSize = 73'000'000;

const std::vector<std::uint8_t>& image() {
  static const std::vector<std::uint8_t> bytes(kSize, 7);
  return bytes;
}

sockaddr_in loopback(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

int connectTo(std::uint16_t port) {
  const int client = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const sockaddr_in address = loopback(port);
  if (connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return -1;
  return client;
}

bool sendAll(int to, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = send(to, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

bool readAll(int from, std::size_t size, std::span<std::uint8_t> memory) {
  while (size > 0) {
    const ssize_t got = recv(from, memory.data(), std::min(size, memory.size()), 0);
    if (got <= 0) return false;
    size -= static_cast<std::size_t>(got);
  }
  return true;
}

/// The size of an answer with its headers and the lengths of its chunks: the image and all that
/// comes until nothing comes for a while. It is the same for each answer.
std::size_t sizeOfAnswer(int from, std::span<std::uint8_t> memory) {
  std::size_t size = 0;
  pollfd wait{from, POLLIN, 0};
  while (poll(&wait, 1, size < kSize ? 10'000 : 300) == 1) {
    const ssize_t got = recv(from, memory.data(), memory.size(), 0);
    if (got <= 0) break;
    size += static_cast<std::size_t>(got);
  }
  return size;
}

/// Answers every byte that comes with the image.
class SendLoop {
 public:
  SendLoop() {
    sockaddr_in address = loopback(0);
    socklen_t size = sizeof address;
    bind(listener_, reinterpret_cast<const sockaddr*>(&address), size);
    listen(listener_, 1);
    getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] {
      const int client = accept(listener_, nullptr, nullptr);
      char byte = 0;
      const auto* bytes = reinterpret_cast<const char*>(image().data());
      while (recv(client, &byte, 1, 0) == 1 && sendAll(client, {bytes, kSize})) {
      }
      close(client);
    });
  }
  ~SendLoop() {
    thread_.join();
    close(listener_);
  }
  SendLoop(const SendLoop&) = delete;
  SendLoop& operator=(const SendLoop&) = delete;
  [[nodiscard]] std::uint16_t port() const { return port_; }

 private:
  int listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  std::uint16_t port_ = 0;
  std::thread thread_;
};

/// Copies the image in parts, as a body whose making costs nothing.
class Copies final : public BodySource {
 public:
  void next(std::string& chunk) override {
    const std::size_t size = std::min<std::size_t>(kSize - at_, 64 * 1024);
    chunk.append(reinterpret_cast<const char*>(image().data()) + at_, size);
    at_ += size;
  }

 private:
  std::size_t at_ = 0;
};

void fetch(benchmark::State& state, std::uint16_t port, std::string_view request) {
  std::vector<std::uint8_t> memory(1 << 20);
  const int client = connectTo(port);
  const std::size_t size = sendAll(client, request) ? sizeOfAnswer(client, memory) : 0;
  for (auto _ : state) {
    if (size < kSize || !sendAll(client, request) || !readAll(client, size, memory)) {
      state.SkipWithError("no answer");
      break;
    }
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kSize));
  close(client);
}

void sendLoop(benchmark::State& state) {
  const SendLoop loop;
  fetch(state, loop.port(), "x");
}

void server(benchmark::State& state, std::string_view path) {
  const HttpServer server(
      {"127.0.0.1", 0}, Gate({}, ""),
      [](const Request& request, Reply reply) {
        Response response;
        if (request.path == "/shared") {
          response.body = SharedBytes{"", image(), nullptr};
        } else {
          response.body = std::make_shared<Copies>();
        }
        reply(std::move(response));
      },
      nullptr);
  const std::string request = "GET " + std::string(path) + " HTTP/1.1\r\nHost: localhost\r\n\r\n";
  fetch(state, server.address().port, request);
}

// The CPU time is that of both ends together.
BENCHMARK(sendLoop)->UseRealTime()->MeasureProcessCPUTime();
BENCHMARK_CAPTURE(server, shared, "/shared")->UseRealTime()->MeasureProcessCPUTime();
BENCHMARK_CAPTURE(server, made, "/made")->UseRealTime()->MeasureProcessCPUTime();

}  // namespace
