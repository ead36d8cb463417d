// SPDX-License-Identifier: MIT
#include "bench/instructions/stepper.h"

#include <sched.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace orvik::bench {
namespace {

/// @return whether the child has stopped, by this signal
bool stoppedBy(pid_t child, int signal) {
  int status = 0;
  return waitpid(child, &status, 0) == child && WIFSTOPPED(status) && WSTOPSIG(status) == signal;
}

/// Keeps this process and its children on one processor: two that wait for each other at every step
/// would spend most of the time with waking each other up.
void stayHere() {
  cpu_set_t here;
  CPU_ZERO(&here);
  CPU_SET(static_cast<std::size_t>(sched_getcpu()), &here);
  sched_setaffinity(0, sizeof here, &here);
}

}  // namespace

std::int64_t instructionsOf(const std::function<void()>& work) {
  stayHere();
  const pid_t child = fork();
  if (child < 0) return -1;
  if (child == 0) {
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(1);
    std::raise(SIGSTOP);
    work();
    std::raise(SIGSTOP);
    _exit(0);
  }
  std::int64_t steps = -1;
  if (stoppedBy(child, SIGSTOP)) {
    do {
      ++steps;
      ptrace(PTRACE_SINGLESTEP, child, nullptr, nullptr);
    } while (stoppedBy(child, SIGTRAP));
  }
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  return steps;
}

}  // namespace orvik::bench
