// SPDX-License-Identifier: MIT
#include "integrations/server/http/http_server.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

#include "server/http/wire_client.h"
#include "support/eventually.h"

namespace orvik::server {
namespace {

using ::testing::HasSubstr;

/// Makes a body of `size` bytes in parts.
class Letters final : public BodySource {
 public:
  explicit Letters(std::size_t size, bool tellsSize = false) : left_(size), tellsSize_(tellsSize) {}
  void next(std::string& chunk) override {
    const std::size_t size = std::min<std::size_t>(left_, 40'000);
    chunk.append(size, 'x');
    left_ -= size;
    ++calls;
  }
  [[nodiscard]] std::optional<std::uint64_t> size() const override {
    return tellsSize_ ? std::optional<std::uint64_t>(left_) : std::nullopt;
  }
  static inline std::atomic<int> calls = 0;

 private:
  std::size_t left_;
  bool tellsSize_;
};

/// Fails after its first part.
class BrokenSource final : public BodySource {
 public:
  void next(std::string& chunk) override {
    if (hasBegun_) throw std::runtime_error("nothing more");
    hasBegun_ = true;
    chunk = "begun";
  }

 private:
  bool hasBegun_ = false;
};

constexpr std::size_t kLarge = 30'000'000;

/// Is shared by the answers that send the large bytes.
const std::shared_ptr<int> largeOwner = std::make_shared<int>();

/// Answers by the path.
void answer(const Request& request, Reply reply) {
  static const std::vector<std::uint8_t> large(kLarge, 7);
  Response response;
  if (request.path == "/echo") {
    response.body = request.method + " " + request.query + " " + request.body;
  } else if (request.path == "/large") {
    response.body = SharedBytes{"head", large, largeOwner};
  } else if (request.path == "/made" || request.path == "/sized") {
    response.body = std::make_shared<Letters>(100'000, request.path == "/sized");
  } else if (request.path == "/endless") {
    response.body = std::make_shared<Letters>(std::size_t{1} << 40U);
  } else if (request.path == "/broken") {
    response.body = std::make_shared<BrokenSource>();
  } else if (request.path == "/later") {
    std::thread([reply = std::move(reply)]() mutable { reply(plainText(200, "later")); }).detach();
    return;
  } else if (request.path == "/forgotten") {
    return;
  } else if (request.path == "/client") {
    response.body = request.client + (request.isLocal ? " is local" : " is not");
  } else if (request.path == "/throws") {
    throw std::runtime_error("a fault of the handler");
  } else if (request.path == "/split") {
    response.headers.add("X-Note", "a\r\nX-Injected: yes");
  }
  reply(std::move(response));
}

class HttpServerTest : public ::testing::Test {
 protected:
  std::uint16_t start(HttpLimits limits = {}) {
    server_ = std::make_unique<HttpServer>(ListenAddress{"127.0.0.1", 0}, Gate({}, ""), answer,
                                           nullptr, limits);
    return server_->address().port;
  }

  static std::string get(std::string_view path, std::string_view headers = "") {
    return "GET " + std::string(path) + " HTTP/1.1\r\nHost: localhost\r\n" + std::string(headers) +
           "\r\n";
  }
  static std::string put(std::string_view headers, std::string_view body) {
    return "PUT /echo HTTP/1.1\r\nHost: localhost\r\n" + std::string(headers) + "\r\n" +
           std::string(body);
  }

  std::unique_ptr<HttpServer> server_;
};

TEST_F(HttpServerTest, AnswersOneRequestAfterAnother) {
  WireClient client(start());
  const WireAnswer first = client.ask(get("/echo?a=b%20c"));
  EXPECT_EQ(first.status, 200);
  EXPECT_EQ(first.body, "GET a=b%20c ");
  EXPECT_EQ(first.headers.at("cache-control"), "no-store");
  EXPECT_EQ(first.headers.at("x-content-type-options"), "nosniff");
  EXPECT_THAT(first.headers.at("content-security-policy"), HasSubstr("default-src 'none'"));
  EXPECT_EQ(client.ask(put("Content-Length: 3\r\n", "a=1")).body, "PUT  a=1");
  EXPECT_EQ(
      client.ask(put("Transfer-Encoding: chunked\r\n", "2\r\na=\r\n1\r\n2\r\n0\r\n\r\n")).body,
      "PUT  a=2");
  EXPECT_EQ(client.ask(get("/later")).body, "later");
  EXPECT_EQ(client.ask(get("/made")).body.size(), 100'000U);
  const WireAnswer sized = client.ask(get("/sized"));
  EXPECT_EQ(sized.headers.at("content-length"), "100000");
  EXPECT_EQ(sized.body.size(), 100'000U);
  const WireAnswer head = client.ask("HEAD /large HTTP/1.1\r\nHost: localhost\r\n\r\n", true);
  EXPECT_EQ(head.headers.at("content-length"), std::to_string(kLarge + 4));
  EXPECT_EQ(client.ask(get("http://127.0.0.1/echo?whole")).body, "GET whole ");
  EXPECT_EQ(client.ask(get("/split")).headers.count("x-injected"), 0U);
}

TEST_F(HttpServerTest, SendsLargeAnswersWhole) {
  WireClient client(start());
  for (int n = 0; n < 2; ++n) {
    const WireAnswer answer = client.ask(get("/large"));
    ASSERT_EQ(answer.body.size(), kLarge + 4);
    EXPECT_TRUE(answer.body.starts_with("head\x07\x07"));
    EXPECT_EQ(answer.body.find_first_not_of('\x07', 4), std::string::npos);
  }
}

TEST_F(HttpServerTest, AnswersRequestsThatWereSentAheadInTheirOrder) {
  WireClient client(start());
  std::string requests;
  for (int n = 0; n < 100; ++n) {
    requests += get(n % 10 == 3 ? "/later" : "/echo?" + std::to_string(n));
    requests += put("Content-Length: 1\r\n", "b");
  }
  ASSERT_TRUE(client.send(requests));
  for (int n = 0; n < 100; ++n) {
    EXPECT_EQ(client.readAnswer().body, n % 10 == 3 ? "later" : "GET " + std::to_string(n) + " ");
    EXPECT_EQ(client.readAnswer().body, "PUT  b");
  }
}

TEST_F(HttpServerTest, KnowsOlderClients) {
  const std::uint16_t port = start();
  WireClient plain(port);
  const WireAnswer answer = plain.ask("GET /made HTTP/1.0\r\n\r\n");
  EXPECT_EQ(answer.headers.count("transfer-encoding"), 0U);
  EXPECT_EQ(answer.body.size(), 100'000U);
  WireClient keeping(port);
  for (int n = 0; n < 2; ++n) {
    const WireAnswer kept = keeping.ask("GET /echo HTTP/1.0\r\nConnection: keep-alive\r\n\r\n");
    EXPECT_EQ(kept.headers.at("connection"), "keep-alive");
  }
  WireClient closing(port);
  EXPECT_EQ(closing.ask(get("/echo", "Connection: close\r\n")).status, 200);
  EXPECT_TRUE(closing.isEnded());
}

TEST_F(HttpServerTest, InvitesTheBodyThatAClientHoldsBack) {
  WireClient client(start());
  ASSERT_TRUE(client.send(put("Content-Length: 3\r\nExpect: 100-continue\r\n", "")));
  EXPECT_EQ(client.readUntil("\r\n\r\n"), "HTTP/1.1 100 Continue\r\n\r\n");
  EXPECT_EQ(client.ask("a=1").body, "PUT  a=1");
  WireClient large(server_->address().port);
  EXPECT_EQ(large.ask(put("Content-Length: 99999999\r\nExpect: 100-continue\r\n", "")).status, 413);
}

TEST_F(HttpServerTest, FaultsOfHandlersEndNothing) {
  WireClient client(start());
  EXPECT_EQ(client.ask(get("/throws")).status, 500);
  EXPECT_EQ(client.ask(get("/forgotten")).status, 500);
  EXPECT_EQ(client.ask(get("/broken")).status, 0);
  EXPECT_TRUE(client.isEnded());
  EXPECT_EQ(WireClient(server_->address().port).ask(get("/echo")).status, 200);
}

TEST_F(HttpServerTest, RefusesWhatIsNotWellFormed) {
  const std::uint16_t port = start();
  const std::string host = "Host: localhost\r\n";
  const std::string chunked =
      "PUT /echo HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: chunked\r\n";
  const struct {
    int status;
    std::string request;
  } cases[] = {
      {400, "\x16\x03\x01\x02garbage\r\n\r\n"},
      {400, "GET\r\n\r\n"},
      {400, "BREW /echo HTTP/1.1\r\n" + host + "\r\n"},
      {400, "CONNECT localhost:80 HTTP/1.1\r\n" + host + "\r\n"},
      {505, "GET /echo HTTP/2.0\r\n" + host + "\r\n"},
      {400, "GET /echo HTTP/1.1\r\n\r\n"},
      {400, "GET /echo HTTP/1.1\r\n" + host + host + "\r\n"},
      {400, "GET echo HTTP/1.1\r\n" + host + "\r\n"},
      {400, "GET * HTTP/1.1\r\n" + host + "\r\n"},
      {400,
       "GET /a\x01"
       "b HTTP/1.1\r\n" +
           host + "\r\n"},
      {400, "GET /a%00b HTTP/1.1\r\n" + host + "\r\n"},
      {400, "GET /api/../files HTTP/1.1\r\n" + host + "\r\n"},
      {400, "GET /api/%2E%2e/files HTTP/1.1\r\n" + host + "\r\n"},
      {400, "GET /a/.. HTTP/1.1\r\n" + host + "\r\n"},
      {421, "GET http://evil.example/echo HTTP/1.1\r\n" + host + "\r\n"},
      {400, "GET /echo HTTP/1.1\r\n" + host + "Na me: x\r\n\r\n"},
      {400, "GET /echo HTTP/1.1\r\n" + host + std::string("A: \0\r\n\r\n", 8)},
      {400, put("Content-Length: -1\r\n", "")},
      {400, put("Content-Length: 18446744073709551616\r\n", "")},
      {400, put("Content-Length: 1\r\nContent-Length: 2\r\n", "ab")},
      {400, put("Content-Length: 3\r\nTransfer-Encoding: chunked\r\n", "0\r\n\r\n")},
      {400, put("Transfer-Encoding: gzip, chunked\r\n", "0\r\n\r\n")},
      {400, put("Transfer-Encoding: identity\r\n", "")},
      {400, "PUT /echo HTTP/1.0\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n"},
      {400, chunked + "\r\nzz\r\n"},
      {400, chunked + "\r\n1;" + std::string(100'000, 'e')},
      {413, chunked + "\r\nfffff\r\n"},
      {413, chunked + "\r\nffffffffffffffff\r\n"},
      {413, put("Content-Length: 70000\r\n", "")},
      {417, put("Content-Length: 1\r\nExpect: wonders\r\n", "")},
      {431, "GET /echo HTTP/1.1\r\n" + host + "A: " + std::string(200'000, 'a')},
      {431, "GET /" + std::string(200'000, 'a')},
  };
  for (const auto& each : cases) {
    WireClient client(port);
    client.send(each.request);
    EXPECT_EQ(client.readAnswer().status, each.status) << each.request.substr(0, 120);
    EXPECT_TRUE(each.status == 421 || client.isEnded()) << each.request.substr(0, 120);
  }
  EXPECT_EQ(WireClient(port).ask(get("/echo")).status, 200);
}

TEST_F(HttpServerTest, ServesOthersBesideAThousandThatSayNothing) {
  HttpLimits limits;
  limits.connections = 1100;
  const std::uint16_t port = start(limits);
  WireClient other(port);
  std::vector<WireClient> silent;
  for (int n = 0; n < 1000; ++n) {
    silent.emplace_back(port);
    ASSERT_TRUE(silent.back().isConnected());
    if (n % 2 == 0) silent.back().send("PUT /echo HTTP/1.1\r\nHost: local");
    if (n % 100 == 0) {
      EXPECT_EQ(other.ask(get("/echo")).status, 200);
    }
  }
  EXPECT_EQ(other.ask(get("/echo")).status, 200);
  EXPECT_EQ(WireClient(port).ask(get("/large")).body.size(), kLarge + 4);
}

TEST_F(HttpServerTest, IdleConnectionsGiveWayAndBusyOnesDoNot) {
  HttpLimits limits;
  limits.connections = 3;
  const std::uint16_t port = start(limits);
  WireClient idle(port);
  ASSERT_EQ(idle.ask(get("/echo")).status, 200);
  WireClient half(port);
  ASSERT_TRUE(half.send(put("Content-Length: 1\r\nExpect: 100-continue\r\n", "")));
  ASSERT_THAT(half.readUntil("\r\n\r\n"), HasSubstr(" 100 "));
  std::vector<WireClient> busy;
  for (int n = 0; n < 3; ++n) {
    busy.emplace_back(port, 4096);
    busy.back().send(get("/endless"));
    ASSERT_THAT(busy.back().readUntil("\r\n\r\n"), HasSubstr(" 200 "));
  }
  EXPECT_TRUE(idle.isEnded());
  EXPECT_TRUE(half.isEnded());
  EXPECT_EQ(WireClient(port).readAnswer().status, 503);
  for (WireClient& client : busy) EXPECT_EQ(client.read(1000).size(), 1000U);
}

TEST_F(HttpServerTest, GoesOnWhenTheSystemHasNoMoreDescriptors) {
  const std::uint16_t port = start();
  std::vector<WireClient> idle;
  for (int n = 0; n < 5; ++n) {
    idle.emplace_back(port);
    ASSERT_EQ(idle.back().ask(get("/echo")).status, 200);
  }
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  const int firstFree = dup(0);
  close(firstFree);
  // The client's socket gets the last one.
  const rlimit few{static_cast<rlim_t>(firstFree) + 1, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
  EXPECT_EQ(WireClient(port).ask(get("/echo")).status, 200);
  EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_TRUE(idle.front().isEnded());
}

TEST_F(HttpServerTest, SlowClientsAreGivenUp) {
  HttpLimits limits;
  limits.requestTime = std::chrono::seconds(1);
  limits.idleTime = std::chrono::seconds(1);
  limits.stallTime = std::chrono::seconds(1);
  const std::uint16_t port = start(limits);
  WireClient idle(port);
  WireClient half(port);
  WireClient halfBody(port);
  WireClient stalled(port, 4096);
  ASSERT_EQ(idle.ask(get("/echo")).status, 200);
  half.send("GET /echo HTT");
  halfBody.send(put("Content-Length: 5\r\n", "a"));
  stalled.send(get("/large"));
  EXPECT_TRUE(idle.isEnded());
  EXPECT_EQ(half.readAnswer().status, 408);
  EXPECT_EQ(halfBody.readAnswer().status, 408);
  // The server lets go of what the stalled one does not take.
  EXPECT_TRUE(orvik::test::eventually([&] { return largeOwner.use_count() == 1; }));
  EXPECT_LT(stalled.readToEnd().size(), kLarge);
}

TEST_F(HttpServerTest, SlowReadersNeitherHoldUpOthersNorFillTheMemory) {
  const std::uint16_t port = start();
  std::vector<WireClient> slow;
  Letters::calls = 0;
  for (int n = 0; n < 8; ++n) {
    slow.emplace_back(port, 4096);
    slow.back().send(get(n % 2 == 0 ? "/large" : "/endless"));
    EXPECT_THAT(slow.back().readUntil("\r\n\r\n"), HasSubstr(" 200 "));
  }
  WireClient other(port);
  for (int n = 0; n < 20; ++n) EXPECT_EQ(other.ask(get("/echo")).status, 200);
  // No more was made than the system takes for four connections.
  EXPECT_LT(Letters::calls * 40'000, 64'000'000);
  slow.clear();  // broken off in the middle
  EXPECT_EQ(other.ask(get("/made")).body.size(), 100'000U);
}

TEST_F(HttpServerTest, RepliesMayOutliveTheServer) {
  std::mutex mutex;
  std::condition_variable arrived;
  std::optional<Reply> kept;
  auto server = std::make_unique<HttpServer>(
      ListenAddress{"127.0.0.1", 0}, Gate({}, ""),
      [&](Request, Reply reply) {
        const std::lock_guard lock(mutex);
        kept.emplace(std::move(reply));
        arrived.notify_one();
      },
      nullptr);
  WireClient client(server->address().port);
  client.send(get("/echo"));
  {
    std::unique_lock lock(mutex);
    ASSERT_TRUE(arrived.wait_for(lock, std::chrono::seconds(20), [&] { return kept.has_value(); }));
  }
  server.reset();
  EXPECT_TRUE(client.isEnded());
  (*kept)(plainText(200, "too late"));
}

TEST_F(HttpServerTest, ListensOnBothFamilies) {
  const auto ask = [](const char* host) {
    const HttpServer server({host, 0}, Gate({}, ""), answer, nullptr);
    return WireClient(server.address().port).ask(get("/client")).body;
  };
  EXPECT_EQ(ask("127.0.0.1"), "127.0.0.1 is local");
  EXPECT_EQ(ask("0.0.0.0"), "127.0.0.1 is local");
  try {
    EXPECT_EQ(ask("::"), "127.0.0.1 is local");
  } catch (const std::system_error&) {
    GTEST_SKIP() << "this machine has no IPv6";
  }
}

TEST_F(HttpServerTest, TellsWhereItCannotListen) {
  const std::uint16_t port = start();
  const auto listen = [](const ListenAddress& address) {
    const HttpServer server(address, Gate({}, ""), answer, nullptr);
  };
  EXPECT_THROW(listen({"127.0.0.1", port}), std::system_error);
  EXPECT_THROW(listen({"observatory", 0}), std::system_error);
  EXPECT_THROW(listen({"192.0.2.1", 0}), std::system_error);
}

}  // namespace
}  // namespace orvik::server
