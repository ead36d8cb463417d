// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "seam/clock.h"
#include "seam/usb_host.h"
#include "sim/camera_options.h"
#include "sim/fault/faults.h"
#include "sim/hardware/guide_port.h"
#include "sim/hardware/stray_request.h"
#include "sim/models.h"

namespace orvik::sim {

class Bus;
class Device;

/// A plugged virtual camera.
struct PluggedCamera {
  int id = 0;  ///< above 0, never given twice by one host
  const Model* model = nullptr;
  std::uint32_t serial = 0;
  bool usb3Port = true;
  seam::DeviceInfo info;
};

/// A USB host with virtual cameras on it. Cameras that run at SuperSpeed are on bus 2; those on USB
/// 2 ports, and cameras of USB 2 on any port, are on bus 1: each on the root hub's first free port.
/// Each plugging gives a new device address. Any thread.
class SimHost final : public seam::Host {
 public:
  explicit SimHost(std::shared_ptr<seam::Clock> clock = std::make_shared<seam::SteadyClock>());
  /// Unplugs all cameras.
  ~SimHost() override;

  /// @return the camera's id, or 0 when its bus has no free port.
  int plug(const Model& model, const CameraOptions& options = {});
  /// Returns when the camera's streaming thread has ended.
  /// @return false when no camera has this id.
  bool unplug(int id);
  void unplugAll();

  /// In the order of their ids.
  [[nodiscard]] std::vector<PluggedCamera> cameras();

  /// What the guide lines of a camera have done; empty when no camera has this id.
  [[nodiscard]] std::vector<GuideEvent> guideLog(int id);

  /// The vendor requests to a camera that came to nothing; empty when no camera has this id.
  [[nodiscard]] std::vector<StrayRequest> strays(int id);

  /// Bytes of frames that a camera's link could not carry; 0 when no camera has this id.
  [[nodiscard]] std::uint64_t bytesLostOnLink(int id);

  /// What a thermometer at the camera's sensor shows, degrees Celsius; none when no camera has this
  /// id.
  [[nodiscard]] std::optional<double> sensorCelsius(int id);

  std::vector<seam::DeviceInfo> devices() override;
  std::unique_ptr<seam::Port> open(const seam::DeviceInfo& device) override;
  /// As the camera's descriptors have it.
  std::optional<std::string> serialNumber(const seam::DeviceInfo& device) override;
  std::shared_ptr<seam::ChangeCount> changes() override { return changes_; }
  [[nodiscard]] std::string settingsFolder() const override { return "virtual"; }

 private:
  struct Entry {
    PluggedCamera camera;
    std::shared_ptr<Device> device;
    std::shared_ptr<fault::Faults> faults;  ///< null for a camera without a script
    unsigned replugs = 0;
  };

  bool present(Entry& entry);

  [[nodiscard]] std::uint8_t freePort(std::uint8_t bus) const;
  std::uint8_t nextAddress(std::uint8_t bus);
  [[nodiscard]] bool addressTaken(std::uint8_t bus, std::uint8_t address) const;

  const std::shared_ptr<seam::Clock> clock_;
  const std::shared_ptr<seam::ChangeCount> changes_ = std::make_shared<seam::ChangeCount>();
  const std::shared_ptr<Bus> usb2_;
  const std::shared_ptr<Bus> usb3_;
  std::mutex mutex_;
  std::map<int, Entry> cameras_;
  int lastId_ = 0;
  std::map<std::uint8_t, std::uint8_t> lastAddress_;  ///< of each bus
};

}  // namespace orvik::sim
