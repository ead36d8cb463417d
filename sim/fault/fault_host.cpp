// SPDX-License-Identifier: MIT
#include "sim/fault/fault_host.h"

#include <algorithm>

namespace orvik::fault {
namespace {

constexpr std::uint8_t kLastAddress = 127;

}  // namespace

FaultHost::FaultHost(std::shared_ptr<seam::Host> inner, Script script)
    : inner_(std::move(inner)), script_(std::move(script)) {}

void FaultHost::setScript(const Script& script) {
  const std::lock_guard lock(mutex_);
  script_ = script;
  for (const auto& [socket, guest] : guests_) guest.faults->setScript(script);
}

std::uint64_t FaultHost::struck(Action action) const {
  const std::lock_guard lock(mutex_);
  std::uint64_t sum = 0;
  for (const auto& [socket, guest] : guests_) sum += guest.faults->struck(action);
  return sum;
}

/// Brings the guests in line with the host below, whose own plugging starts a device anew.
void FaultHost::update() {
  for (const seam::DeviceInfo& below : inner_->devices()) {
    Guest& guest = guests_[{below.location.bus, below.location.ports}];
    if (!guest.faults || guest.below.location != below.location) {
      guest = {below, below.location.address, 0, std::make_shared<Faults>(script_)};
    }
    if (!guest.faults->present()) continue;
    if (const unsigned replugs = guest.faults->replugs(); replugs != guest.replugs) {
      guest.replugs = replugs;
      guest.address = freeAddress(below.location.bus);
    }
  }
}

std::uint8_t FaultHost::freeAddress(std::uint8_t bus) const {
  // From the top, where the host below has given none yet.
  for (std::uint8_t address = kLastAddress; address > 1; --address) {
    const bool taken = std::ranges::any_of(guests_, [&](const auto& each) {
      return each.first.first == bus &&
             (each.second.address == address || each.second.below.location.address == address);
    });
    if (!taken) return address;
  }
  return kLastAddress;
}

std::vector<seam::DeviceInfo> FaultHost::devices() {
  const std::lock_guard lock(mutex_);
  update();
  std::vector<seam::DeviceInfo> list;
  for (seam::DeviceInfo& device : inner_->devices()) {
    const auto found = guests_.find({device.location.bus, device.location.ports});
    if (found == guests_.end() || !found->second.faults->present()) continue;
    device.location.address = found->second.address;
    list.push_back(std::move(device));
  }
  return list;
}

std::unique_ptr<seam::Port> FaultHost::open(const seam::DeviceInfo& device) {
  std::shared_ptr<Faults> faults;
  seam::DeviceInfo below;
  {
    const std::lock_guard lock(mutex_);
    update();
    const auto found = guests_.find({device.location.bus, device.location.ports});
    if (found == guests_.end() || found->second.address != device.location.address) return nullptr;
    faults = found->second.faults;
    below = found->second.below;
  }
  return faults->open([&] { return inner_->open(below); });
}

}  // namespace orvik::fault
