// SPDX-License-Identifier: MIT
#include "tools/orvikctl/sequence/image_command.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <optional>
#include <system_error>

#include "imaging/time_text.h"
#include "orvik/orvik.hpp"

namespace orvik::ctl {
namespace {

using Clock = std::chrono::steady_clock;

/// The command as a script whose first argument is the file, so that no name needs quotes.
std::string scriptOf(std::string text) {
  constexpr std::string_view kPlace = "{file}";
  constexpr std::string_view kFile = "\"$1\"";
  std::size_t place = text.find(kPlace);
  if (place == std::string::npos) return text + " " + std::string(kFile);
  for (; place != std::string::npos; place = text.find(kPlace, place + kFile.size())) {
    text.replace(place, kPlace.size(), kFile);
  }
  return text;
}

/// How a process is started: in a group of its own, which Ctrl-C at the terminal does not reach,
/// without this program's treatment of signals.
class SpawnSetup {
 public:
  SpawnSetup() {
    posix_spawn_file_actions_init(&files_);
    posix_spawn_file_actions_addopen(&files_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&files_, STDERR_FILENO, STDOUT_FILENO);
    posix_spawnattr_init(&attributes_);
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes_, &signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGXFSZ, SIGPIPE})
      sigaddset(&signals, signal);
    posix_spawnattr_setsigdefault(&attributes_, &signals);
    posix_spawnattr_setpgroup(&attributes_, 0);
    posix_spawnattr_setflags(
        &attributes_, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
  }
  ~SpawnSetup() {
    posix_spawn_file_actions_destroy(&files_);
    posix_spawnattr_destroy(&attributes_);
  }
  SpawnSetup(const SpawnSetup&) = delete;
  SpawnSetup& operator=(const SpawnSetup&) = delete;

  /// @return 0 or an errno
  int start(pid_t& process, char* const* arguments) const {
    return posix_spawn(&process, "/bin/sh", &files_, &attributes_, arguments, environ);
  }

 private:
  posix_spawn_file_actions_t files_{};
  posix_spawnattr_t attributes_{};
};

/// Waits until the process has ended, or until a time, or a stop.
std::optional<int> waitFor(pid_t process, Clock::time_point end, const std::stop_token& stop) {
  constexpr std::chrono::milliseconds kLongestPause(50);
  for (std::chrono::milliseconds pause(1);; pause = std::min(2 * pause, kLongestPause)) {
    int status = 0;
    const pid_t ended = waitpid(process, &status, WNOHANG);
    if (ended == process) return status;
    if (ended < 0 && errno != EINTR) return 0;  // somebody else has waited for it
    if (Clock::now() >= end || !sleepFor(pause, stop)) return std::nullopt;
  }
}

void endAll(pid_t group) {
  constexpr auto kGrace = std::chrono::seconds(2);
  kill(-group, SIGTERM);
  const bool hasEnded = waitFor(group, Clock::now() + kGrace, {}).has_value();
  kill(-group, SIGKILL);  // what it has started may still run
  if (!hasEnded) waitpid(group, nullptr, 0);
}

}  // namespace

std::string runImageCommand(const CommandPlan& command, const std::filesystem::path& file,
                            const std::stop_token& stop) {
  std::string shell = "sh";
  std::string option = "-c";
  std::string script = scriptOf(command.text);
  std::string name = file.string();
  const std::array<char*, 6> arguments = {shell.data(), option.data(), script.data(),
                                          shell.data(), name.data(),   nullptr};
  pid_t process = 0;
  const int error = SpawnSetup().start(process, arguments.data());
  if (error != 0) return "it cannot be started: " + std::generic_category().message(error);
  const std::optional<int> status = waitFor(process, Clock::now() + command.limit, stop);
  if (!status) {
    endAll(process);
    if (stop.stop_requested()) return "it was ended, because a stop was requested";
    return "it was ended after " + imaging::formatDuration(command.limit.count());
  }
  if (WIFSIGNALED(*status)) return "it was killed by signal " + std::to_string(WTERMSIG(*status));
  if (WEXITSTATUS(*status) != 0) return "exit code " + std::to_string(WEXITSTATUS(*status));
  return "";
}

}  // namespace orvik::ctl
