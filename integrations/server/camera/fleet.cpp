// SPDX-License-Identifier: MIT
#include "integrations/server/camera/fleet.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <optional>
#include <tuple>
#include <utility>

#include "imaging/worker.h"
#include "integrations/server/camera/lent_camera.h"

namespace orvik::server {

class Fleet::Impl {
 public:
  explicit Impl(const std::vector<std::string>& first)
      : worker_(std::make_shared<imaging::Worker>()) {
    std::error_code error;
    std::vector<Device> present = devices(error);  // none on a machine without USB
    const auto rank = [&](const Device& device) {
      const auto place = std::ranges::find(first, device.serial) - first.begin();
      return std::make_tuple(place, device.name, device.serial, device.port);
    };
    std::ranges::sort(present, {}, rank);
    for (const Device& device : present) arrived(device, present);
    watch_.emplace(
        [this](DeviceWatch::Change change, const Device& device) {
          onFleetThread([this, change, device] {
            std::error_code ignored;
            change == DeviceWatch::Change::kArrived ? arrived(device, devices(ignored))
                                                    : left(device);
          });
        },
        present);
  }

  ~Impl() {
    watch_.reset();
    onFleetThread([this] {
      for (const auto& camera : cameras()) camera->shutDown();
    });
    worker_->drain();
  }
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;

  [[nodiscard]] std::vector<std::shared_ptr<LentCamera>> cameras() const {
    const std::scoped_lock lock(mutex_);
    return cameras_;
  }

 private:
  void onFleetThread(std::function<void()> job) {
    worker_->post([job = std::move(job)](const std::stop_token&) { job(); });
  }

  void arrived(const Device& device, const std::vector<Device>& all) {
    if (device.name.empty()) return;  // of a model that the library does not know
    const std::string key = keyOf(device, all);
    std::shared_ptr<LentCamera> camera;
    {
      const std::scoped_lock lock(mutex_);
      auto& known = byKey_[key];
      if (known == nullptr) {
        const auto number = static_cast<int>(cameras_.size());
        known = std::make_shared<LentCamera>(
            CameraIdentity{number, device.name, device.label(), device.serial, device.port, key},
            // A camera may be held by somebody after the fleet has gone.
            [worker = std::weak_ptr(worker_)](std::function<void()> job) {
              const auto present = worker.lock();
              if (present == nullptr) return;
              present->post([job = std::move(job)](const std::stop_token&) { job(); });
            });
        cameras_.push_back(known);
      }
      camera = known;
    }
    atPort_[device.port] = camera;
    camera->arrived(device);
  }

  void left(const Device& device) {
    if (const auto gone = atPort_.extract(device.port)) gone.mapped()->left();
  }

  std::shared_ptr<imaging::Worker> worker_;  // the fleet's thread
  mutable std::mutex mutex_;
  std::vector<std::shared_ptr<LentCamera>> cameras_;
  std::map<std::string, std::shared_ptr<LentCamera>> byKey_;
  std::map<std::string, std::shared_ptr<LentCamera>> atPort_;  // on the fleet's thread
  std::optional<DeviceWatch> watch_;
};

Fleet::Fleet(const std::vector<std::string>& first) : impl_(std::make_unique<Impl>(first)) {}
Fleet::~Fleet() = default;

std::vector<std::shared_ptr<ServedCamera>> Fleet::cameras() const {
  const auto all = impl_->cameras();
  return {all.begin(), all.end()};
}

std::shared_ptr<ServedCamera> Fleet::camera(int number) const {
  const auto all = impl_->cameras();
  const bool isKnown = number >= 0 && static_cast<std::size_t>(number) < all.size();
  return isKnown ? all[static_cast<std::size_t>(number)] : nullptr;
}

}  // namespace orvik::server
