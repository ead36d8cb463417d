// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "seam/usb_host.h"
#include "sim/fault/faults.h"

namespace orvik::fault {

/// A host that injects faults into the devices of another host. Any thread.
class FaultHost final : public seam::Host {
 public:
  /// @param script for each device on its own
  explicit FaultHost(std::shared_ptr<seam::Host> inner, Script script = {});

  /// Starts a script on each device, also on devices that are plugged in later.
  void setScript(const Script& script);

  /// How many events a kind of fault has affected so far, on all devices.
  [[nodiscard]] std::uint64_t struck(Action action) const;

  std::vector<seam::DeviceInfo> devices() override;
  std::unique_ptr<seam::Port> open(const seam::DeviceInfo& device) override;
  std::optional<std::string> serialNumber(const seam::DeviceInfo& device) override;
  std::shared_ptr<seam::ChangeCount> changes() override { return inner_->changes(); }
  bool waitForChange(std::uint64_t seen, std::chrono::milliseconds limit) override {
    return inner_->waitForChange(seen, limit);
  }
  [[nodiscard]] std::string settingsFolder() const override { return inner_->settingsFolder(); }

 private:
  /// A socket of a bus, independent of the address of the device in it.
  using Socket = std::pair<std::uint8_t, std::vector<std::uint8_t>>;

  struct Guest {
    seam::DeviceInfo below;  ///< as the host below describes it
    std::uint8_t address = 0;
    unsigned replugs = 0;
    std::shared_ptr<Faults> faults;
  };

  void update();
  std::optional<Guest> guestAt(const seam::DeviceInfo& device);
  [[nodiscard]] std::uint8_t freeAddress(std::uint8_t bus) const;

  const std::shared_ptr<seam::Host> inner_;
  mutable std::mutex mutex_;
  Script script_;
  std::map<Socket, Guest> guests_;
};

}  // namespace orvik::fault
