// SPDX-License-Identifier: MIT
// Imports one device from a USB/IP server and passes it to the virtual host controller of the
// kernel, as `usbip attach` does, but without service files and databases.
//
//   attach ADDRESS PORT BUSID     prints the port of the controller
//
// The ports of the controller for high speed come first, then those for SuperSpeed.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

namespace {

constexpr const char* kController = "/sys/devices/platform/vhci_hcd.0/";
constexpr std::uint32_t kSuperSpeed = 5;

[[noreturn]] void fail(const std::string& why) {
  std::fprintf(stderr, "attach: %s\n", why.c_str());
  std::exit(1);
}

std::uint32_t number(const std::uint8_t* bytes) {
  std::uint32_t value = 0;
  std::memcpy(&value, bytes, sizeof value);
  return ntohl(value);
}

int connectTo(const char* address, const char* port) {
  sockaddr_in place{};
  place.sin_family = AF_INET;
  place.sin_port = htons(static_cast<std::uint16_t>(std::atoi(port)));
  if (inet_pton(AF_INET, address, &place.sin_addr) != 1) fail("bad address");
  const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
  const int on = 1;
  setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  if (::connect(socket, reinterpret_cast<sockaddr*>(&place), sizeof place) != 0) {
    fail("no connection");
  }
  return socket;
}

/// The first free port for this speed. Lines of the status file: hub, port, state, speed, device,
/// socket, bus id; state 4 is a free port.
int freePort(bool superSpeed) {
  std::ifstream status(std::string(kController) + "status");
  std::string line;
  std::getline(status, line);  // the header
  while (std::getline(status, line)) {
    std::istringstream words(line);
    std::string hub;
    std::string port;
    std::string state;
    words >> hub >> port >> state;
    if (hub == (superSpeed ? "ss" : "hs") && std::atoi(state.c_str()) == 4) {
      return std::atoi(port.c_str());
    }
  }
  fail("no free port");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) fail("usage: attach ADDRESS PORT BUSID");
  const int socket = connectTo(argv[1], argv[2]);

  std::array<std::uint8_t, 40> request = {0x01, 0x11, 0x80, 0x03};
  std::strncpy(reinterpret_cast<char*>(request.data()) + 8, argv[3], 31);
  if (send(socket, request.data(), request.size(), 0) != static_cast<ssize_t>(request.size())) {
    fail("the server went away");
  }
  std::array<std::uint8_t, 8 + 312> reply{};
  if (recv(socket, reply.data(), 8, MSG_WAITALL) != 8 || number(&reply[4]) != 0) {
    fail("the server refuses");
  }
  if (recv(socket, &reply[8], 312, MSG_WAITALL) != 312) fail("the reply is short");
  const std::uint32_t bus = number(&reply[8 + 288]);
  const std::uint32_t device = number(&reply[8 + 292]);
  const std::uint32_t speed = number(&reply[8 + 296]);

  const int port = freePort(speed == kSuperSpeed);
  std::ofstream attach(std::string(kController) + "attach");
  attach << port << ' ' << socket << ' ' << (bus << 16U | device) << ' ' << speed << std::flush;
  if (!attach) fail("the kernel refuses");
  std::printf("%d\n", port);
  return 0;
}
