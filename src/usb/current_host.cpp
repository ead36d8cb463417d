// SPDX-License-Identifier: MIT
#include "usb/current_host.h"

#include <mutex>
#include <utility>

#include "trace/recording_host.h"
#include "trace/replay_host.h"
#include "usb/libusb_host.h"

namespace orvik {
namespace {

std::mutex mutex;
std::shared_ptr<seam::Host> installedHost;
std::shared_ptr<seam::Host> systemHost;

}  // namespace

std::shared_ptr<seam::Host> currentHost() {
  const std::lock_guard lock(mutex);
  if (installedHost) return installedHost;
  if (!systemHost) systemHost = trace::replayOnRequest();
  if (!systemHost) systemHost = trace::recordedOnRequest(makeLibusbHost());
  return systemHost;
}

void installHost(std::shared_ptr<seam::Host> host) {
  host = trace::recordedOnRequest(std::move(host));
  std::shared_ptr<seam::Host> former;
  {
    const std::lock_guard lock(mutex);
    former = installedHost ? installedHost : systemHost;
    installedHost.swap(host);
  }
  // Whoever waits for a change on the former host is to look at its successor.
  if (const auto changes = former ? former->changes() : nullptr) changes->add();
  // The former host ends here, outside the lock: its end may take a moment.
}

}  // namespace orvik
