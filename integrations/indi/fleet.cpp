// SPDX-License-Identifier: MIT
// The cameras of this driver: found when it starts, and whenever one is plugged in.
#include "fleet.h"

#include <indidevapi.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <map>
#include <memory>

#include "camera_device.h"
#include "event_thread.h"

namespace orvik::indi {
namespace {

/// The devices by name. They are never destroyed: INDI sends images on threads that know them.
class Fleet {
 public:
  void start() {
    watch_ =
        std::make_unique<DeviceWatch>([this](DeviceWatch::Change change, const Device& device) {
          onEventThread([this, change, device] {
            change == DeviceWatch::Change::kArrived ? arrived(device) : left(device);
          });
        });
  }

  void shutDown() {
    watch_.reset();
    for (const auto& [name, camera] : cameras_) camera->shutDown();
    for (const auto& [name, camera] : cameras_) camera->waitUntilClosed();
  }

 private:
  void arrived(const Device& device) {
    if (device.name.empty()) return;  // of a model that the library does not know
    const std::string name = nameOf(device);
    CameraDevice*& camera = cameras_[name];
    if (camera == nullptr) {
      camera = new CameraDevice(name);
      camera->ISGetProperties(nullptr);
      closeCamerasAtExit();
    }
    present_[device.port] = name;
    camera->arrived(device);
  }

  void left(const Device& device) {
    if (const auto gone = present_.extract(device.port)) cameras_[gone.mapped()]->left();
  }

  /// Model and serial number. A second camera with the same ones is told apart by its port. Some
  /// clients find the driver of a device by the first word of both names.
  [[nodiscard]] std::string nameOf(const Device& device) const {
    const std::string name = "Orvik " + device.label();
    const bool isTaken = std::any_of(present_.begin(), present_.end(), [&](const auto& other) {
      return other.first != device.port && other.second == name;
    });
    return isTaken ? name + " at port " + device.port : name;
  }

  std::map<std::string, CameraDevice*> cameras_;  ///< by name
  std::map<std::string, std::string> present_;    ///< names by port
  std::unique_ptr<DeviceWatch> watch_;
};

Fleet& fleet() {
  static auto* const only = new Fleet;
  return *only;
}

void catchSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  // NOLINTNEXTLINE(concurrency-mt-unsafe): what runs at the exit waits for the other threads
  const auto end = [](int, void*) { std::exit(EXIT_SUCCESS); };
  IEAddCallback(signalfd(-1, &signals, SFD_CLOEXEC), end, nullptr);
  // A server that has vanished is noticed at the end of the input.
  std::signal(SIGPIPE, SIG_IGN);
}

/// INDI's library has the function main(): this runs before it.
const bool isPrepared = [] {
  catchSignals();
  startEventQueue();
  IEAddTimer(
      0, [](void*) { fleet().start(); }, nullptr);
  return true;
}();

}  // namespace

void closeCamerasAtExit() {
  std::atexit([] {
    // INDI also exits on threads of its own, when the server is gone: the first one ends it.
    static std::atomic<bool> isEnding = false;
    while (isEnding.exchange(true)) pause();
    fleet().shutDown();
    // Without the destructors of static objects, which threads of INDI may still use.
    _exit(EXIT_SUCCESS);
  });
}

}  // namespace orvik::indi
