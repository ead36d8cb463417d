// SPDX-License-Identifier: MIT
#include "integrations/server/http/discovery.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "integrations/server/http/file_descriptor.h"

namespace orvik::server {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::string_view kQuestion = "alpacadiscovery1";
constexpr const char* kGroup = "ff12::a1:9aca";
constexpr int kAnswersPerSecond = 100;
/// New network interfaces join the group about so often.
constexpr std::chrono::seconds kJoinInterval{30};

void throwErrno(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

void switchOn(int socket, int level, int option) {
  constexpr int kOn = 1;
  setsockopt(socket, level, option, &kOn, sizeof kOn);
}

/// An address of either family.
union Address {
  sockaddr any;
  sockaddr_in v4;
  sockaddr_in6 v6;
};

/// @throws std::system_error if the port is taken
FileDescriptor bindTo(int family, std::uint16_t& port) {
  FileDescriptor socket(::socket(family, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!socket) return socket;
  // Several servers on one machine are found by broadcasts together.
  switchOn(socket.number(), SOL_SOCKET, SO_REUSEADDR);
  switchOn(socket.number(), SOL_SOCKET, SO_REUSEPORT);
  Address address{};
  socklen_t size = sizeof address.v4;
  address.any.sa_family = static_cast<sa_family_t>(family);
  if (family == AF_INET) {
    // To all interfaces: an address of one would get no broadcasts.
    address.v4.sin_port = htons(port);
  } else {
    switchOn(socket.number(), IPPROTO_IPV6, IPV6_V6ONLY);
    address.v6.sin6_port = htons(port);
    size = sizeof address.v6;
  }
  if (bind(socket.number(), &address.any, size) != 0) {
    throwErrno("cannot listen for discovery on port " + std::to_string(port));
  }
  getsockname(socket.number(), &address.any, &size);
  port = ntohs(family == AF_INET ? address.v4.sin_port : address.v6.sin6_port);
  return socket;
}

/// Makes a socket hear what is sent to the group on any interface.
void join(int socket) {
  ipv6_mreq request{};
  inet_pton(AF_INET6, kGroup, &request.ipv6mr_multiaddr);
  struct if_nameindex* const interfaces = if_nameindex();
  if (interfaces == nullptr) return;
  for (const struct if_nameindex* each = interfaces; each->if_index != 0; ++each) {
    // Fails for those that have joined already, and for those without IPv6.
    request.ipv6mr_interface = each->if_index;
    setsockopt(socket, IPPROTO_IPV6, IPV6_ADD_MEMBERSHIP, &request, sizeof request);
  }
  if_freenameindex(interfaces);
}

/// Link-local, site-local and unique local addresses, and this machine's own.
bool isNear(const in6_addr& address) {
  return IN6_IS_ADDR_LOOPBACK(&address) || IN6_IS_ADDR_LINKLOCAL(&address) ||
         (address.s6_addr[0] & 0xFEU) == 0xFCU;
}

bool isLoopback(const in_addr& address) { return ntohl(address.s_addr) >> 24U == 127; }

}  // namespace

class Discovery::Impl {
 public:
  Impl(const ListenAddress& api, std::uint16_t port)
      : answer_("{\"AlpacaPort\":" + std::to_string(api.port) + "}") {
    in6_addr v6{};
    const bool isV4 = inet_pton(AF_INET, api.host.c_str(), &source_) == 1;
    if (!isV4 && inet_pton(AF_INET6, api.host.c_str(), &v6) != 1) {
      errno = EINVAL;
      throwErrno("not an address: " + api.host);
    }
    hasSource_ = isV4 && source_.s_addr != htonl(INADDR_ANY);
    loopbackOnly_ = isV4 ? isLoopback(source_) : IN6_IS_ADDR_LOOPBACK(&v6);
    port_ = port;
    const bool isDual = IN6_IS_ADDR_UNSPECIFIED(&v6) && !isV4;
    if (isV4 || isDual) v4_ = bindTo(AF_INET, port_);
    if (!isV4) v6_ = bindTo(AF_INET6, port_);
    if (!v4_ && !v6_) throwErrno("cannot listen for discovery");
    wake_ = FileDescriptor(eventfd(0, EFD_CLOEXEC));
    if (!wake_) throwErrno("cannot listen for discovery");
    joinGroup();
    thread_ = std::thread([this] { run(); });
  }

  ~Impl() {
    eventfd_write(wake_.number(), 1);
    thread_.join();
  }

  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;

  [[nodiscard]] std::uint16_t port() const { return port_; }

 private:
  void run() {
    for (;;) {
      std::array<pollfd, 3> waits = {
          {{wake_.number(), POLLIN, 0}, {v4_.number(), POLLIN, 0}, {v6_.number(), POLLIN, 0}}};
      const auto joinAgain = Clock::now() + kJoinInterval;
      while (Clock::now() < joinAgain) {
        constexpr int kMilliseconds = 1000 * static_cast<int>(kJoinInterval.count());
        if (poll(waits.data(), waits.size(), kMilliseconds) <= 0) break;
        if (waits[0].revents != 0) return;
        if (waits[1].revents != 0) receive(v4_.number());
        if (waits[2].revents != 0) receive(v6_.number());
      }
      joinGroup();
    }
  }

  void joinGroup() {
    if (v6_) join(v6_.number());
  }

  void receive(int socket) {
    std::array<char, 64> bytes{};
    Address sender{};
    socklen_t size = sizeof sender;
    const ssize_t got = recvfrom(socket, bytes.data(), bytes.size(), 0, &sender.any, &size);
    if (got < static_cast<ssize_t>(kQuestion.size()) ||
        !std::equal(kQuestion.begin(), kQuestion.end(), bytes.begin()) || !mayAnswer(sender) ||
        isTooOften()) {
      return;
    }
    send(socket, sender, size);
  }

  [[nodiscard]] bool mayAnswer(const Address& sender) const {
    if (sender.any.sa_family == AF_INET) {
      return sender.v4.sin_port != 0 && (!loopbackOnly_ || isLoopback(sender.v4.sin_addr));
    }
    if (sender.v6.sin6_port == 0 || !isNear(sender.v6.sin6_addr)) return false;
    return !loopbackOnly_ || IN6_IS_ADDR_LOOPBACK(&sender.v6.sin6_addr);
  }

  bool isTooOften() {
    const auto now = Clock::now();
    if (now - second_ >= std::chrono::seconds(1)) {
      second_ = now;
      answers_ = 0;
    }
    return ++answers_ > kAnswersPerSecond;
  }

  void send(int socket, Address& to, socklen_t size) {
    iovec part{answer_.data(), answer_.size()};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(in_pktinfo))> control{};
    msghdr message{};
    message.msg_name = &to;
    message.msg_namelen = size;
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    if (hasSource_ && to.any.sa_family == AF_INET) {
      // Clients connect to the address that the answer comes from.
      message.msg_control = control.data();
      message.msg_controllen = control.size();
      cmsghdr* const header = CMSG_FIRSTHDR(&message);
      header->cmsg_level = IPPROTO_IP;
      header->cmsg_type = IP_PKTINFO;
      header->cmsg_len = CMSG_LEN(sizeof(in_pktinfo));
      in_pktinfo info{};
      info.ipi_spec_dst = source_;
      std::memcpy(CMSG_DATA(header), &info, sizeof info);
    }
    sendmsg(socket, &message, MSG_DONTWAIT | MSG_NOSIGNAL);
  }

  std::string answer_;
  in_addr source_{};  ///< the address that the server listens on, if it is one
  bool hasSource_ = false;
  bool loopbackOnly_ = false;
  std::uint16_t port_ = 0;
  FileDescriptor v4_;
  FileDescriptor v6_;
  FileDescriptor wake_;
  Clock::time_point second_;
  int answers_ = 0;
  std::thread thread_;
};

Discovery::Discovery(const ListenAddress& api, std::uint16_t port)
    : impl_(std::make_unique<Impl>(api, port)) {}

Discovery::~Discovery() = default;

std::uint16_t Discovery::port() const { return impl_->port(); }

}  // namespace orvik::server
