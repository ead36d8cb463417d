// SPDX-License-Identifier: MIT
#include "tools/orvikctl/interrupt.h"

#include <semaphore.h>

#include <csignal>
#include <mutex>
#include <thread>

namespace orvik::ctl {
namespace {

/// Passes signals on to a stop source. A signal handler may do little more than post a semaphore,
/// so a thread waits for that.
class Interrupts {
 public:
  Interrupts() {
    sem_init(&posted_, 0, 0);
    std::thread([this] { passOn(); }).detach();
  }

  void post() { sem_post(&posted_); }
  void reset() {
    const std::lock_guard lock(mutex_);
    source_ = std::stop_source();
  }
  std::stop_token token() {
    const std::lock_guard lock(mutex_);
    return source_.get_token();
  }

 private:
  [[noreturn]] void passOn() {
    for (;;) {
      if (sem_wait(&posted_) != 0) continue;  // interrupted by the signal itself
      const std::lock_guard lock(mutex_);
      source_.request_stop();
    }
  }

  sem_t posted_{};
  std::mutex mutex_;
  std::stop_source source_;
};

/// Lives until the process ends, as its thread does.
Interrupts& interrupts() {
  static auto& all = *new Interrupts;
  return all;
}

extern "C" void onInterrupt(int /*signal*/) { interrupts().post(); }

}  // namespace

void catchInterrupts() {
  interrupts().reset();
  struct sigaction action = {};
  action.sa_handler = onInterrupt;
  action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  sigaction(SIGHUP, &action, nullptr);  // the terminal, or the connection to it, is gone
  struct sigaction ignore = {};
  ignore.sa_handler = SIG_IGN;
  sigaction(SIGXFSZ, &ignore, nullptr);
  sigaction(SIGPIPE, &ignore, nullptr);
}

std::stop_token interruption() { return interrupts().token(); }

bool interrupted() { return interruption().stop_requested(); }

}  // namespace orvik::ctl
