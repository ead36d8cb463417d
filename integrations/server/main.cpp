// SPDX-License-Identifier: MIT
// orvik-server: lends the cameras of this machine to the network.
#include <malloc.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "integrations/server/alpaca/api.h"
#include "integrations/server/camera/fleet.h"
#include "integrations/server/capture/capture_folder.h"
#include "integrations/server/command_line.h"
#include "integrations/server/http/discovery.h"
#include "integrations/server/http/http_server.h"
#include "integrations/server/page/page_server.h"
#include "integrations/server/router.h"
#include "orvik/orvik_sim.h"

namespace orvik::server {
namespace {

/// The command line asks for something that does not exist.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Frames, images and pictures come and go on many threads. The allocator would keep the most that
/// each thread has ever had; so it gets few arenas, and gives large blocks back to the system.
void limitMemoryKept() {
  constexpr int kArenas = 4;
  constexpr int kLargeBlock = 1 << 20;  // bytes
  // NOLINTBEGIN(concurrency-mt-unsafe): before the first thread is started
  mallopt(M_ARENA_MAX, kArenas);
  mallopt(M_MMAP_THRESHOLD, kLargeBlock);
  // NOLINTEND(concurrency-mt-unsafe)
}

/// The signals that end the program, as a descriptor. Called before the first thread is started,
/// because threads inherit the signal mask.
int endSignals() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGINT);
  sigaddset(&set, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  std::signal(SIGPIPE, SIG_IGN);
  return signalfd(-1, &set, SFD_CLOEXEC);
}

/// Plugs the virtual cameras in. Returns their serial numbers, in their order.
std::vector<std::string> plugVirtualCameras(const std::vector<std::string>& descriptions) {
  std::vector<std::string> serials;
  for (const std::string& description : descriptions) {
    const std::size_t comma = description.find(',');
    const std::string options = comma == std::string::npos ? "" : description.substr(comma + 1);
    const int id = OrvikSimPlug(description.substr(0, comma).c_str(), options.c_str());
    if (id < 0) throw UsageError("--sim " + description + ": " + OrvikSimLastError());
    std::vector<Orvik_SIM_CAMERA> cameras(static_cast<std::size_t>(OrvikSimList(nullptr, 0)));
    OrvikSimList(cameras.data(), static_cast<int>(cameras.size()));
    serials.emplace_back(cameras.back().serial);
  }
  return serials;
}

/// "ADDRESS:PORT", with brackets around an IPv6 address.
ListenAddress parseListenAddress(const std::string& text) {
  const std::size_t colon = text.rfind(':');
  ListenAddress address;
  if (colon != std::string::npos) {
    address.host = text.substr(0, colon);
    const char* const end = text.data() + text.size();
    const auto [rest, failed] = std::from_chars(text.data() + colon + 1, end, address.port);
    if (address.host.starts_with('[') && address.host.ends_with(']')) {
      address.host = address.host.substr(1, address.host.size() - 2);
    }
    if (failed == std::errc() && rest == end && !address.host.empty()) return address;
  }
  throw UsageError("--listen " + text + ": it is ADDRESS:PORT, such as 0.0.0.0:11111");
}

bool isLoopback(const std::string& host) { return host.starts_with("127.") || host == "::1"; }

std::string readToken(const std::string& file) {
  if (file.empty()) return "";
  std::ifstream stream(file);
  std::string token;
  if (!std::getline(stream, token) || token.empty()) {
    throw UsageError("--token-file " + file + ": there is no token in its first line");
  }
  return token;
}

/// "0123": a digit for each of north, south, east and west.
GuideWiring guideWiring(const std::string& text) {
  GuideWiring wiring = kUsualWiring;
  std::string sorted = text;
  std::ranges::sort(sorted);
  if (sorted != "0123") {
    throw UsageError("--guide-lines " + text + ": it has each of 0, 1, 2 and 3 once");
  }
  std::ranges::transform(text, wiring.begin(), [](char digit) { return GuideD(digit - '0'); });
  return wiring;
}

void waitForEnd(int signals) {
  signalfd_siginfo signal{};
  while (read(signals, &signal, sizeof signal) < 0 && errno == EINTR) {
  }
}

/// Tells where the server is, and what it opens to whom.
void announce(const ListenAddress& address, bool hasToken) {
  const bool isV6 = address.host.find(':') != std::string::npos;
  const std::string host = isV6 ? "[" + address.host + "]" : address.host;
  std::printf("http://%s:%u/\n", host.c_str(), unsigned{address.port});
  std::fflush(stdout);
  if (isLoopback(address.host)) return;
  std::fprintf(stderr, "orvik-server: everybody who reaches this address can see the cameras%s\n",
               hasToken ? ", and with the token use them. The token is not encrypted on its way."
                        : " and use them. --token-file asks for a token.");
}

int run(const Options& options) {
  limitMemoryKept();
  const int signals = endSignals();
  const ListenAddress wanted = parseListenAddress(options.listen);
  const GuideWiring wiring = guideWiring(options.guideLines);
  const std::string token = readToken(options.tokenFile);
  Fleet fleet(plugVirtualCameras(options.virtualCameras));
  AlpacaApi alpaca(fleet, options.name, options.location, wiring);
  const auto folder = std::make_shared<CaptureFolder>(
      options.folder.empty() ? CaptureFolder::standard() : std::filesystem::path(options.folder));
  PageServer pages(fleet, folder, wiring);
  const Gate gate(options.hosts, token);
  const HttpServer server(wanted, gate,
                          Router(alpaca, gate, folder, [&pages] { return pages.cameras(); }),
                          [&pages](const Request& request, std::shared_ptr<WebSocket> socket) {
                            return pages.connect(request, std::move(socket));
                          });
  announce(server.address(), !token.empty());

  std::optional<Discovery> discovery;
  try {
    if (!options.noDiscovery) discovery.emplace(server.address(), options.discoveryPort);
  } catch (const std::system_error& error) {
    std::fprintf(stderr, "orvik-server: clients cannot search for this server: %s\n", error.what());
  }
  waitForEnd(signals);
  return 0;
}

}  // namespace
}  // namespace orvik::server

int main(int argc, char** argv) {
  using namespace orvik::server;
  try {
    CLI::App app;
    Options options;
    defineCommandLine(app, options);
    CLI11_PARSE(app, argc, argv);
    return run(options);
  } catch (const UsageError& error) {
    std::fprintf(stderr, "orvik-server: %s\n", error.what());
    return 2;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "orvik-server: %s\n", error.what());
    return 1;
  }
}
