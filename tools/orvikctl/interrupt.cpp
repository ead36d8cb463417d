// SPDX-License-Identifier: MIT
#include "tools/orvikctl/interrupt.h"

#include <atomic>
#include <csignal>

namespace orvik::ctl {
namespace {

// A signal handler may touch lock-free atomics only.
std::atomic<bool> wasInterrupted = false;
static_assert(std::atomic<bool>::is_always_lock_free);

extern "C" void onInterrupt(int /*signal*/) { wasInterrupted.store(true); }

}  // namespace

void catchInterrupts() {
  wasInterrupted.store(false);
  struct sigaction action = {};
  action.sa_handler = onInterrupt;
  action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  struct sigaction ignore = {};
  ignore.sa_handler = SIG_IGN;
  sigaction(SIGXFSZ, &ignore, nullptr);
}

bool interrupted() { return wasInterrupted.load(); }

}  // namespace orvik::ctl
