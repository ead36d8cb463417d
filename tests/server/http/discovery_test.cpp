// SPDX-License-Identifier: MIT
#include "integrations/server/http/discovery.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <chrono>
#include <string>
#include <system_error>

#include "integrations/server/http/file_descriptor.h"

namespace orvik::server {
namespace {

/// Sends datagrams and waits for answers.
class Seeker {
 public:
  explicit Seeker(int family) : socket_(::socket(family, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    constexpr int kOn = 1;
    setsockopt(socket_.number(), SOL_SOCKET, SO_BROADCAST, &kOn, sizeof kOn);
  }

  /// @param interface for multicasts
  bool send(const std::string& text, const char* address, std::uint16_t port,
            unsigned interface = 0) {
    sockaddr_in v4{};
    sockaddr_in6 v6{};
    if (inet_pton(AF_INET, address, &v4.sin_addr) == 1) {
      v4.sin_family = AF_INET;
      v4.sin_port = htons(port);
      return sendTo(text, reinterpret_cast<const sockaddr*>(&v4), sizeof v4);
    }
    inet_pton(AF_INET6, address, &v6.sin6_addr);
    v6.sin6_family = AF_INET6;
    v6.sin6_port = htons(port);
    v6.sin6_scope_id = interface;
    return sendTo(text, reinterpret_cast<const sockaddr*>(&v6), sizeof v6);
  }

  std::string answer(int milliseconds = 10'000) {
    pollfd wait{socket_.number(), POLLIN, 0};
    std::array<char, 256> bytes{};
    if (poll(&wait, 1, milliseconds) != 1) return "";
    const ssize_t size = recv(socket_.number(), bytes.data(), bytes.size(), 0);
    return size < 0 ? "" : std::string(bytes.data(), static_cast<std::size_t>(size));
  }

 private:
  bool sendTo(const std::string& text, const sockaddr* to, socklen_t size) {
    return sendto(socket_.number(), text.data(), text.size(), 0, to, size) ==
           static_cast<ssize_t>(text.size());
  }

  FileDescriptor socket_;
};

TEST(Discovery, AnswersTheQuestionAndNothingElse) {
  const Discovery discovery({"127.0.0.1", 4711}, 0);
  Seeker seeker(AF_INET);
  // An answer to one of these would come before those to the real questions.
  for (const char* other : {"", "alpacadiscovery", "alpacadiscoverz1", "ALPACADISCOVERY1"}) {
    ASSERT_TRUE(seeker.send(other, "127.0.0.1", discovery.port()));
  }
  ASSERT_TRUE(seeker.send("alpacadiscovery1", "127.0.0.1", discovery.port()));
  EXPECT_EQ(seeker.answer(), "{\"AlpacaPort\":4711}");
  ASSERT_TRUE(seeker.send("alpacadiscovery1" + std::string(100, '\0'), "127.255.255.255",
                          discovery.port()));
  EXPECT_EQ(seeker.answer(), "{\"AlpacaPort\":4711}");
}

TEST(Discovery, AnswersOverIpv6) {
  Seeker seeker(AF_INET6);
  if (!seeker.send("nobody listens", "::1", 9)) GTEST_SKIP() << "this machine has no IPv6";
  const Discovery local({"::1", 4711}, 0);
  ASSERT_TRUE(seeker.send("alpacadiscovery1", "::1", local.port()));
  EXPECT_EQ(seeker.answer(), "{\"AlpacaPort\":4711}");
}

TEST(Discovery, AnswersIpv6Multicasts) {
  const Discovery discovery({"::", 4711}, 0);
  Seeker seeker(AF_INET6);
  bool isSent = false;
  for (unsigned interface = 1; interface < 100 && !isSent; ++interface) {
    isSent = seeker.send("alpacadiscovery1", "ff12::a1:9aca", discovery.port(), interface);
  }
  if (!isSent) GTEST_SKIP() << "no network interface of this machine has multicasts";
  EXPECT_EQ(seeker.answer(), "{\"AlpacaPort\":4711}");
}

TEST(Discovery, DoesNotAnswerFloods) {
  const Discovery discovery({"0.0.0.0", 4711}, 0);
  Seeker seeker(AF_INET);
  const auto isAnswered = [&] {
    return seeker.send("alpacadiscovery1", "127.0.0.1", discovery.port()) &&
           !seeker.answer(200).empty();
  };
  int answers = 0;
  while (answers < 1000 && isAnswered()) ++answers;
  EXPECT_GT(answers, 0);
  EXPECT_LT(answers, 1000);
  // After a while it answers again.
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!isAnswered()) ASSERT_LT(std::chrono::steady_clock::now(), deadline);
}

TEST(Discovery, TellsThatItsPortIsTaken) {
  const FileDescriptor taken(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  socklen_t size = sizeof address;
  ASSERT_EQ(bind(taken.number(), reinterpret_cast<const sockaddr*>(&address), size), 0);
  getsockname(taken.number(), reinterpret_cast<sockaddr*>(&address), &size);
  EXPECT_THROW(Discovery({"127.0.0.1", 4711}, ntohs(address.sin_port)), std::system_error);
  // Several servers on one machine share it.
  const Discovery one({"127.0.0.1", 4711}, 0);
  EXPECT_NO_THROW(Discovery({"127.0.0.1", 4712}, one.port()));
}

}  // namespace
}  // namespace orvik::server
