// SPDX-License-Identifier: MIT
// How orvik-server makes images ready for clients and sends them. The cases "loopback" fetch an
// image again and again, from the server and from a plain send(): compare their real times.
#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "bench/frames.h"
#include "integrations/server/alpaca/answer.h"
#include "integrations/server/alpaca/transpose.h"
#include "integrations/server/http/http_server.h"

namespace orvik::bench {
namespace {

using namespace orvik::server;  // NOLINT(google-build-using-namespace)

/// The largest sensor: 36 million pixels.
constexpr Size kImage = kSizes[2];

std::shared_ptr<AlpacaImage> makeImage() {
  static ImageRoom room;
  auto image = room.make(kImage.width, kImage.height, 2, {});
  std::memcpy(image->samples.get(), skyFrame<std::uint16_t>(kImage.pixels()).data(),
              image->bytes().size());
  return image;
}

template <typename Sample>
void addTranspose(const std::string& kernel) {
  const auto add = [&](const char* variant, auto run) {
    addCase(kernel, variant, sizeof(Sample), [run](Size size) {
      return [run, size, &in = skyFrame<Sample>(size.pixels()),
              out = Output<Sample>(size.pixels())]() mutable {
        run(in.data(), size, out.data());
        benchmark::DoNotOptimize(out.data());
      };
    });
  };
  add("orvik", [](const Sample* in, Size size, Sample* out) {
    const auto width = static_cast<std::size_t>(size.width);
    transpose(in, width, width, static_cast<std::size_t>(size.height), out);
  });
  add("memcpy", [](const Sample* in, Size size, Sample* out) {
    std::memcpy(out, in, size.pixels() * sizeof(Sample));
  });
  add("plain", [](const Sample* in, Size size, Sample* out) {
    const auto width = static_cast<std::size_t>(size.width);
    const auto height = static_cast<std::size_t>(size.height);
    for (std::size_t x = 0; x < width; ++x) {
      for (std::size_t y = 0; y < height; ++y) out[x * height + y] = in[y * width + x];
    }
  });
}

const bool registered = [] {
  addTranspose<std::uint8_t>("transpose 8");
  addTranspose<std::uint16_t>("transpose 16");
  return true;
}();

void json(benchmark::State& state) {
  const auto image = makeImage();
  std::int64_t bytes = 0;
  for (auto _ : state) {
    const Response response = jsonImage(image, {});
    auto& source = *std::get<std::shared_ptr<BodySource>>(response.body);
    std::string chunk;
    do {
      chunk.clear();
      source.next(chunk);
      bytes += static_cast<std::int64_t>(chunk.size());
    } while (!chunk.empty());
  }
  state.SetBytesProcessed(bytes);
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kImage.pixels()));
}
BENCHMARK(json)->Name("image as JSON")->Unit(benchmark::kMillisecond);

class Socket {
 public:
  explicit Socket(int number = ::socket(AF_INET, SOCK_STREAM, 0)) : number_(number) {}
  ~Socket() { ::close(number_); }
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;
  [[nodiscard]] int number() const { return number_; }

  void connect(std::uint16_t port) const {
    const sockaddr_in address = loopback(port);
    ::connect(number_, reinterpret_cast<const sockaddr*>(&address), sizeof address);
  }
  /// @return the port
  [[nodiscard]] std::uint16_t listen() const {
    sockaddr_in address = loopback(0);
    ::bind(number_, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    ::listen(number_, 1);
    socklen_t size = sizeof address;
    getsockname(number_, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
  }
  /// Asks for an answer and reads it. @return false if it does not come whole
  [[nodiscard]] bool fetch(std::string_view request, std::size_t bytes) {
    if (::send(number_, request.data(), request.size(), MSG_NOSIGNAL) < 0) return false;
    std::size_t taken = 0;
    while (taken < bytes) {
      const ssize_t some = ::recv(number_, buffer_.data(), buffer_.size(), 0);
      if (some <= 0) return false;
      taken += static_cast<std::size_t>(some);
    }
    return true;
  }

 private:
  static sockaddr_in loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
  }
  int number_;
  std::vector<char> buffer_ = std::vector<char>(1 << 20);
};

void measure(benchmark::State& state, std::uint16_t port, std::string_view request,
             std::size_t bytes) {
  Socket client;
  client.connect(port);
  for (auto _ : state) {
    if (!client.fetch(request, bytes)) state.SkipWithError("the answer does not come whole");
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

void plainSend(benchmark::State& state) {
  const auto image = makeImage();
  const Socket listener;
  const std::uint16_t port = listener.listen();
  std::thread sender([&] {
    const Socket socket(::accept(listener.number(), nullptr, nullptr));
    char request = 0;
    while (::recv(socket.number(), &request, 1, 0) == 1) {
      auto left = image->bytes();
      while (!left.empty()) {
        const ssize_t sent = ::send(socket.number(), left.data(), left.size(), MSG_NOSIGNAL);
        if (sent <= 0) return;
        left = left.subspan(static_cast<std::size_t>(sent));
      }
    }
  });
  measure(state, port, "x", image->bytes().size());
  sender.join();
}
BENCHMARK(plainSend)
    ->Name("loopback, plain send")
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

void imageBytes(benchmark::State& state) {
  const auto image = makeImage();
  const HttpServer server({.host = "127.0.0.1", .port = 0}, Gate({}, ""),
                          [&](const Request&, Reply reply) { reply(binaryImage(image, {})); }, {});
  const std::string request = "GET / HTTP/1.1\r\nHost: localhost\r\n\r\n";
  // The size of the headers, from an answer that is cut off after them.
  std::size_t head = 0;
  {
    Socket client;
    client.connect(server.address().port);
    std::string text(4096, 0);
    (void)!::send(client.number(), request.data(), request.size(), MSG_NOSIGNAL);
    const ssize_t got = ::recv(client.number(), text.data(), text.size(), MSG_WAITALL);
    head = text.substr(0, static_cast<std::size_t>(std::max<ssize_t>(got, 0))).find("\r\n\r\n") + 4;
  }
  measure(state, server.address().port, request, head + 44 + image->bytes().size());
}
BENCHMARK(imageBytes)
    ->Name("loopback, image in binary form")
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

}  // namespace
}  // namespace orvik::bench
