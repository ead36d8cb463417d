// SPDX-License-Identifier: MIT
#include "usb/current_host.h"

#include <mutex>

#include "seam/install.h"

namespace orvik {
namespace {

/// A bus with nothing on it.
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
  if (!systemHost) systemHost = std::make_shared<EmptyHost>();
  return systemHost;
}

void installHost(std::shared_ptr<seam::Host> host) {
  const std::lock_guard lock(mutex);
  installedHost = std::move(host);
}

}  // namespace orvik

void orvik_private_install_host(const std::shared_ptr<orvik::seam::Host>& host) noexcept {
  orvik::installHost(host);
}
