// SPDX-License-Identifier: MIT
#include "integrations/server/http/web_socket.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

#include "integrations/server/http/http_server.h"
#include "server/http/wire_client.h"
#include "support/eventually.h"

namespace orvik::server {
namespace {

using ::testing::HasSubstr;

/// What happened to the sockets of a server, as one can wait for it.
class Events {
 public:
  void add(std::string event) {
    const std::lock_guard lock(mutex_);
    list_.push_back(std::move(event));
    changed_.notify_all();
  }
  bool waitFor(const std::string& event) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(20), [&] {
      return std::find(list_.begin(), list_.end(), event) != list_.end();
    });
  }
  [[nodiscard]] std::size_t count(const std::string& event) {
    const std::lock_guard lock(mutex_);
    return static_cast<std::size_t>(std::count(list_.begin(), list_.end(), event));
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> list_;
};

class User final : public WebSocketUser {
 public:
  User(std::shared_ptr<WebSocket> socket, Events& events)
      : socket_(std::move(socket)), events_(events) {}
  void received(std::string_view text) override {
    events_.add("received " + std::to_string(text.size()));
    if (text == "echo") socket_->sendText("echo");
    if (text == "close") socket_->close();
    if (text == "throw") throw std::runtime_error("a fault of the user");
  }
  void drained() override { events_.add("drained"); }
  void closed() override { events_.add("closed"); }

 private:
  std::shared_ptr<WebSocket> socket_;
  Events& events_;
};

/// A frame of a client, with a mask of zeros.
std::string frame(int opcode, const std::string& payload) {
  std::string bytes(1, static_cast<char>(0x80 | opcode));
  if (payload.size() < 126) {
    bytes += static_cast<char>(0x80 | payload.size());
  } else {
    bytes += '\xFF';
    for (int shift = 56; shift >= 0; shift -= 8) {
      bytes += static_cast<char>(payload.size() >> static_cast<unsigned>(shift));
    }
  }
  return bytes + std::string(4, '\0') + payload;
}

constexpr int kText = 1;
constexpr int kBinary = 2;
constexpr int kClose = 8;
constexpr int kPing = 9;
constexpr int kPong = 10;

/// Reads one frame of the server: its opcode and payload; -1 if the connection has ended.
std::pair<int, std::string> readFrame(WireClient& client) {
  const std::string head = client.read(2);
  if (head.size() < 2) return {-1, ""};
  std::size_t size = static_cast<unsigned char>(head[1]);
  if (size >= 126) {
    const std::string length = client.read(size == 126 ? 2 : 8);
    size = 0;
    for (const char c : length) size = size << 8U | static_cast<unsigned char>(c);
  }
  return {head[0] & 0x0F, client.read(size)};
}

std::string handshake(std::string_view path, std::string_view headers = "") {
  return "GET " + std::string(path) +
         " HTTP/1.1\r\nHost: localhost:11111\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
         "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n" +
         std::string(headers) + "\r\n";
}

class WebSocketTest : public ::testing::Test {
 protected:
  void start(HttpLimits limits = {}, std::string token = "") {
    server_ = std::make_unique<HttpServer>(
        ListenAddress{"127.0.0.1", 0}, Gate({}, std::move(token)),
        [](const Request&, Reply reply) { reply(plainText(200, "page")); },
        [this](const Request& request,
               std::shared_ptr<WebSocket> socket) -> std::shared_ptr<WebSocketUser> {
          if (request.path != "/live") return nullptr;
          {
            const std::lock_guard lock(mutex_);
            socket_ = socket;
          }
          return std::make_shared<User>(std::move(socket), events_);
        },
        limits);
  }

  WireClient open(int receiveBuffer = 0) {
    WireClient client(server_->address().port, receiveBuffer);
    const WireAnswer answer = client.ask(handshake("/live", "Origin: http://localhost:11111\r\n"));
    EXPECT_EQ(answer.status, 101);
    EXPECT_EQ(answer.headers.at("sec-websocket-accept"), "s3pPLMBiTxaQ9kYGzzhZRbK+xOo=");
    return client;
  }

  int statusOf(const std::string& request) {
    return WireClient(server_->address().port).ask(request).status;
  }

  std::shared_ptr<WebSocket> socket() {
    const std::lock_guard lock(mutex_);
    return socket_;
  }

  Events events_;
  std::mutex mutex_;
  std::shared_ptr<WebSocket> socket_;
  std::unique_ptr<HttpServer> server_;
};

TEST_F(WebSocketTest, CarriesMessagesBothWays) {
  start();
  WireClient client = open();
  client.send(frame(kText, "echo"));
  EXPECT_EQ(readFrame(client), std::pair(kText, std::string("echo")));
  ASSERT_TRUE(events_.waitFor("drained"));
  const std::string large(3'000'000, 'b');
  socket()->sendBinary("head", std::make_shared<const std::string>(large));
  EXPECT_EQ(readFrame(client), std::pair(kBinary, "head" + large));
  client.send(frame(kText, std::string(64 * 1024, 'a')));
  EXPECT_TRUE(events_.waitFor("received 65536"));
  client.send(frame(kPing, "are you there"));
  EXPECT_EQ(readFrame(client), std::pair(kPong, std::string("are you there")));
  client.send(frame(kText, "close"));
  EXPECT_EQ(readFrame(client).first, kClose);
  client.send(frame(kClose, "\x03\xE8"));
  EXPECT_TRUE(client.isEnded());
  client.hangUp();
  EXPECT_TRUE(events_.waitFor("closed"));
  socket()->sendText("nobody hears this");
  EXPECT_EQ(socket()->waiting(), 0U);
  EXPECT_EQ(events_.count("closed"), 1U);
}

TEST_F(WebSocketTest, OpensOnlyForThoseWhoMay) {
  start({}, "secret");
  const std::string token = "Authorization: Bearer secret\r\n";
  EXPECT_EQ(statusOf(handshake("/live")), 401);
  EXPECT_EQ(statusOf(handshake("/live", token + "Origin: http://evil.example\r\n")), 403);
  EXPECT_EQ(statusOf(handshake("/live", token + "Origin: http://localhost:8080\r\n")), 403);
  EXPECT_EQ(statusOf(handshake("/other", token)), 404);
  EXPECT_EQ(statusOf(handshake("/live", token) + frame(kText, "early")), 400);
  EXPECT_EQ(socket(), nullptr);
  EXPECT_EQ(statusOf(handshake("/live", token)), 101);
}

TEST_F(WebSocketTest, ClosesOnWhatIsNotAllowed) {
  start();
  const std::string cases[] = {
      frame(kText, std::string(64 * 1024 + 1, 'a')),  // too long
      frame(kText, "\xFF\xFE"),                       // not UTF-8
      frame(kBinary, "bytes"),
      frame(3, ""),                     // no such kind of frame
      std::string("\x81\x05hello", 7),  // without a mask
      frame(kText, "throw"),
      "\x81" + std::string(9, '\xFF') + std::string(4, '\0'),  // longer than any memory
  };
  std::size_t closed = 0;
  for (const std::string& bytes : cases) {
    WireClient client = open();
    client.send(bytes);
    client.readToEnd();
    EXPECT_TRUE(client.isEnded()) << ::testing::PrintToString(bytes.substr(0, 20));
    client.hangUp();
    ++closed;
    EXPECT_TRUE(orvik::test::eventually([&] { return events_.count("closed") >= closed; }));
    ASSERT_EQ(events_.count("closed"), closed) << ::testing::PrintToString(bytes.substr(0, 20));
  }
}

TEST_F(WebSocketTest, NoticesAClientThatIsGone) {
  HttpLimits limits;
  limits.pongTime = std::chrono::seconds(1);
  start(limits);
  // The client's machine takes the pings, but nobody answers them.
  const WireClient silent = open();
  EXPECT_TRUE(events_.waitFor("closed"));
}

TEST_F(WebSocketTest, ASlowClientDoesNotFillTheMemory) {
  start();
  WireClient client = open(4096);
  const auto frames = std::make_shared<const std::string>(1'000'000, 'b');
  for (int n = 0; n < 20; ++n) socket()->sendBinary("", frames);
  EXPECT_GT(socket()->waiting(), 0U);
  EXPECT_EQ(events_.count("drained"), 0U);
  for (int n = 0; n < 20; ++n) ASSERT_EQ(readFrame(client).second.size(), frames->size());
  EXPECT_TRUE(events_.waitFor("drained"));
  EXPECT_EQ(socket()->waiting(), 0U);
  // Texts matter one by one: a client that does not take them is closed.
  for (int n = 0; n < 20; ++n) socket()->sendText(*frames);
  EXPECT_TRUE(events_.waitFor("closed"));
}

TEST_F(WebSocketTest, ManyThreadsSendWhileClientsComeAndGo) {
  start();
  for (int round = 0; round < 20; ++round) {
    WireClient client = open();
    std::vector<std::thread> senders;
    for (int n = 0; n < 3; ++n) {
      senders.emplace_back([socket = socket()] {
        for (int message = 0; message < 100; ++message) {
          socket->sendText("state");
          socket->sendBinary("head", std::make_shared<const std::string>(1000, 'b'));
        }
        socket->close();
      });
    }
    for (int n = 0; n < 10; ++n) readFrame(client);
    client.hangUp();
    for (std::thread& sender : senders) sender.join();
  }
  const std::shared_ptr<WebSocket> last = [&] {
    const WireClient client = open();
    server_.reset();
    return socket();
  }();
  last->sendText("nobody hears this");
  EXPECT_EQ(events_.count("closed"), 21U);
}

}  // namespace
}  // namespace orvik::server
