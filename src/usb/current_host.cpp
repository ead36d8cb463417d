// SPDX-License-Identifier: MIT
#include "usb/current_host.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <utility>

#include "trace/recording_host.h"
#include "trace/replay_host.h"
#include "usb/libusb_host.h"
#include "usb/virtual_cameras.h"

namespace orvik {
namespace {

/// A host without devices.
class EmptyHost final : public seam::Host {
 public:
  /// @param changes null if no other host can be expected to replace this one
  explicit EmptyHost(std::shared_ptr<seam::ChangeCount> changes) : changes_(std::move(changes)) {}
  std::vector<seam::DeviceInfo> devices() override { return {}; }
  std::unique_ptr<seam::Port> open(const seam::DeviceInfo&) override { return nullptr; }
  std::shared_ptr<seam::ChangeCount> changes() override { return changes_; }

 private:
  const std::shared_ptr<seam::ChangeCount> changes_;
};

std::mutex mutex;
std::shared_ptr<seam::Host> installedHost;
std::shared_ptr<seam::Host> systemHost;

/// Plugs in the virtual cameras that ORVIK_SIM requests, unless cameras have been chosen in another
/// way, and keeps the program from real ones. To be called once.
void replaceBusOnRequest() {
  const char* const cameras = secure_getenv("ORVIK_SIM");
  if (cameras == nullptr) return;
  {
    const std::lock_guard lock(mutex);
    systemHost = trace::replayOnRequest();
    const bool isDecided = installedHost || systemHost;
    if (!systemHost) {
      systemHost = std::make_shared<EmptyHost>(std::make_shared<seam::ChangeCount>());
    }
    if (isDecided) return;
  }
  std::string trouble = plugVirtualCameras(cameras);  // calls installHost()
  if (trouble.empty()) return;
  // It may quote the variable, which can contain anything.
  std::ranges::replace_if(
      trouble, [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
  std::fprintf(stderr, "orvik: ORVIK_SIM: %s No camera is used.\n", trouble.c_str());
}

}  // namespace

std::shared_ptr<seam::Host> currentHost() {
  static std::once_flag replaced;
  std::call_once(replaced, replaceBusOnRequest);
  const std::lock_guard lock(mutex);
  if (installedHost) return installedHost;
  if (!systemHost) systemHost = trace::replayOnRequest();
  if (!systemHost) systemHost = trace::recordedOnRequest(makeLibusbHost());
  if (systemHost) return systemHost;
  // Not stored: USB may be available at the next call, when a driver has been loaded or a container
  // has been given its devices.
  static const auto nothing = std::make_shared<EmptyHost>(nullptr);
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
