// SPDX-License-Identifier: MIT
#include "usb/current_host.h"

#include <mutex>
#include <utility>

#include "trace/recording_host.h"
#include "trace/replay_host.h"
#include "usb/libusb_host.h"

namespace orvik {
namespace {

/// A host without devices.
class EmptyHost final : public seam::Host {
 public:
  std::vector<seam::DeviceInfo> devices() override { return {}; }
  std::unique_ptr<seam::Port> open(const seam::DeviceInfo&) override { return nullptr; }
};

std::mutex mutex;
std::shared_ptr<seam::Host> installedHost;
std::shared_ptr<seam::Host> systemHost;

}  // namespace

std::shared_ptr<seam::Host> currentHost() {
  const std::lock_guard lock(mutex);
  if (installedHost) return installedHost;
  if (!systemHost) systemHost = trace::replayOnRequest();
  if (!systemHost) systemHost = trace::recordedOnRequest(makeLibusbHost());
  if (systemHost) return systemHost;
  // Not stored: USB may be available at the next call, when a driver has been loaded or a container
  // has been given its devices.
  static const auto nothing = std::make_shared<EmptyHost>();
  return nothing;
}

void installHost(std::shared_ptr<seam::Host> host) {
  host = trace::recordedOnRequest(std::move(host));
  std::shared_ptr<seam::Host> former;
  {
    const std::lock_guard lock(mutex);
    former = installedHost ? installedHost : systemHost;
    installedHost.swap(host);
  }
  // Wakes threads that wait for a change on the former host, so that they use the new one.
  if (const auto changes = former ? former->changes() : nullptr) changes->add();
  // The former host is destroyed here, outside the lock, because that may take a moment.
}

}  // namespace orvik
