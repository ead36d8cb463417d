// SPDX-License-Identifier: MIT
#include "link/exit_guard.h"

#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <mutex>
#include <vector>

#include "link/vendor_link.h"

namespace orvik {
namespace {

using namespace std::chrono_literals;

constexpr auto kLeaveTime = 3s;
constexpr int kRounds = 3;

/// The links of all camera objects of this process.
struct AllLinks {
  std::mutex mutex;
  std::vector<VendorLink*> links;
};

AllLinks& allLinks() {
  // Never destroyed: the last camera may be destroyed after all static objects.
  static auto* const all = new AllLinks;
  return *all;
}

void leaveAllSafe() {
  const auto deadline = std::chrono::steady_clock::now() + kLeaveTime;
  AllLinks& all = allLinks();
  const std::lock_guard lock(all.mutex);
  // In rounds, so that a camera that does not answer delays the others only once per round.
  for (int round = 0; round < kRounds; ++round) {
    for (VendorLink* link : all.links) link->settleBy(deadline);
  }
}

}  // namespace

ExitGuard::ExitGuard(VendorLink& link) : link_(link) {
  AllLinks& all = allLinks();
  const std::lock_guard lock(all.mutex);
  all.links.push_back(&link_);
}

ExitGuard::~ExitGuard() {
  AllLinks& all = allLinks();
  const std::lock_guard lock(all.mutex);
  std::erase(all.links, &link_);
}

void ExitGuard::arm() {
  static const pid_t owner = getpid();
  [[maybe_unused]] static const int registered = std::atexit([] {
    if (getpid() == owner) leaveAllSafe();
  });
}

}  // namespace orvik
