// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <memory>

#include "base/stop_switch.h"
#include "base/worker_thread.h"
#include "camera/camera.h"
#include "cooler/cooler.h"

namespace orvik {

/// A camera with a thermo-electric cooler, and with the thread that regulates its temperature.
///
/// initialise() starts the thread with the cooler off; close() and the destructor end it and switch
/// the power off if the camera still answers.
///
/// Threads: startThread() and stopThread() as initialise() and close(); everything else for any
/// thread. Requests end by the timeout of VendorLink; a request that changes the drive waits for
/// the previous one.
class CooledCamera : public Camera {
 public:
  ~CooledCamera() override;

  CooledCamera* cooled() override { return this; }
  [[nodiscard]] cooler::Cooler& cooler() const { return *cooler_; }

  bool setTargetTemperature(int celsius) override;
  bool switchCooler(bool on) override;
  /// Reads the thermistor; see Cooler::measure().
  float readTemperature() override;

  /// Whether the thread that regulates the temperature has been started.
  [[nodiscard]] bool isThreadRunning() const { return threadRunning_; }
  /// Starts the thread, unless it runs. If the system cannot start one, isThreadRunning() stays
  /// false.
  void startThread();
  /// Ends the thread, if it runs, and switches the power of the cooler off. A thread that does not
  /// end within 500 ms, because its request hangs, ends later without changing anything.
  void stopThread();

 protected:
  CooledCamera(const ModelRow& model, std::shared_ptr<const FrameProtocol> protocol);

  void onInitialised() override;
  void onClosing() override;

 private:
  const std::shared_ptr<cooler::Cooler> cooler_;
  WorkerThread thread_;
  std::shared_ptr<StopSwitch> stop_;
  std::atomic<bool> threadRunning_{false};
};

}  // namespace orvik
