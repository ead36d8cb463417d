// SPDX-License-Identifier: MIT
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <exception>
#include <string>
#include <utility>

#include "sim/sim_host.h"
#include "tools/simcam/camera_bank.h"
#include "tools/simcam/command_line.h"
#include "tools/simcam/console.h"
#include "tools/simcam/server.h"
#include "tools/simcam/socket.h"

namespace orvik::simcam {
namespace {

std::string plugDefaults(const Options& options) {
  std::string text;
  const auto add = [&text](const char* key, const std::string& value) {
    if (value.empty()) return;
    if (!text.empty()) text.push_back(',');
    text.append(key).append("=").append(value);
  };
  add("scene", options.scene);
  add("seed", options.seed);
  add("fault", options.faults);
  return text;
}

/// The signals that end the program, as a descriptor. Called before the first thread is started,
/// because threads inherit the signal mask.
int endSignals() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGINT);
  sigaddset(&set, SIGTERM);
  sigaddset(&set, SIGHUP);
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  return signalfd(-1, &set, SFD_CLOEXEC);
}

/// Executes commands from standard input until `quit` or a signal. The end of the input does not
/// end the server, which may run without a terminal.
void converse(Console& console, int signals) {
  std::string pending;
  bool inputOpen = true;
  for (;;) {
    std::array<pollfd, 2> waits = {
        {{signals, POLLIN, 0}, {inputOpen ? STDIN_FILENO : -1, POLLIN, 0}}};
    if (poll(waits.data(), waits.size(), -1) < 0) continue;
    if (waits[0].revents != 0) return;
    std::array<char, 4096> chunk{};
    const ssize_t count = ::read(STDIN_FILENO, chunk.data(), chunk.size());
    inputOpen = count > 0;
    if (inputOpen) pending.append(chunk.data(), static_cast<std::size_t>(count));
    for (std::size_t end = 0; (end = pending.find('\n')) != std::string::npos;) {
      const Console::Answer answer = console.execute(pending.substr(0, end));
      pending.erase(0, end + 1);
      std::fputs(answer.text.c_str(), stdout);
      std::fflush(stdout);
      if (answer.quit) return;
    }
  }
}

int run(const Options& options) {
  const int signals = endSignals();
  sim::SimHost host;
  CameraBank bank(host, plugDefaults(options));
  for (const std::string& camera : options.cameras) {
    const CameraBank::Plugging done = bank.plug(camera);
    if (done.busId.empty()) {
      std::fprintf(stderr, "%s: %s\n", camera.c_str(), done.refusal.c_str());
      return 2;
    }
  }
  std::string error;
  auto listener = Socket::listenOn(options.listen, options.port, error);
  if (!listener) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return 1;
  }
  const auto log = [](const std::string& line) {
    std::fprintf(stdout, "%s\n", line.c_str());
    std::fflush(stdout);
  };
  Server server(
      host, std::move(*listener), [&bank] { return bank.exports(); }, log);
  Console console(bank, server);
  std::fputs(console.execute("list").text.c_str(), stdout);
  std::printf("Listening on %s:%u.\n", options.listen.c_str(), unsigned{server.port()});
  std::fflush(stdout);
  converse(console, signals);
  return 0;
}

}  // namespace
}  // namespace orvik::simcam

int main(int argc, char** argv) {
  using namespace orvik::simcam;
  try {
    CLI::App app;
    Options options;
    defineCommandLine(app, options);
    CLI11_PARSE(app, argc, argv);
    if (options.cameras.empty() && !options.empty) options.cameras.emplace_back("T15C");
    return run(options);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "orvik-simcam: %s\n", failure.what());
    return 1;
  }
}
