// SPDX-License-Identifier: MIT
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "integrations/server/camera/open_camera.h"
#include "integrations/server/camera/served_camera.h"
#include "integrations/server/camera/status_board.h"

namespace orvik::server {

/// A camera of the fleet: known to its users whether it is open, closed or unplugged.
class LentCamera final : public ServedCamera, public std::enable_shared_from_this<LentCamera> {
 public:
  /// Runs a function on the fleet's thread, which opens and closes cameras.
  using OnFleetThread = std::function<void(std::function<void()>)>;

  LentCamera(CameraIdentity identity, OnFleetThread onFleetThread);

  /// @name For the fleet, on its thread
  /// @{
  /// It was plugged in, here, or was there when the server began.
  void arrived(const Device& device);
  /// It was unplugged.
  void left();
  /// Closes it for good.
  void shutDown();
  /// @}

  [[nodiscard]] CameraIdentity identity() const override;
  [[nodiscard]] std::shared_ptr<const CameraStatus> status() const override {
    return board_.status();
  }
  [[nodiscard]] std::shared_ptr<const Description> description() const override;
  [[nodiscard]] std::shared_ptr<void> onChange(std::function<void()> function) override {
    return board_.onChange(std::move(function));
  }
  void open(User user, Done done) override;
  void close(User user, Done done) override;
  [[nodiscard]] bool isOpenFor(User user) const override;
  void control(std::function<void(Camera&)> job, Done done) override;
  void setControl(Orvik_CONTROL_TYPE type, ControlValue value, Done done) override;
  void setFormat(const imaging::Region& region, int bin, IMG_TYPE type, Done done) override;
  void coolTo(int celsius, double degreesPerMinute, Done done) override;
  void warmUp(double degreesPerMinute, Done done) override;
  void setCooler(std::optional<bool> on, std::optional<int> target, Done done) override;
  [[nodiscard]] std::vector<TemperatureSample> temperatures() const override;
  void pulse(GuideD line, std::chrono::milliseconds length, Done done) override;
  void holdLine(GuideD line) override;
  void releaseLine(GuideD line) override;
  bool tryCapture(Capture capture) override;
  void stopCapture() override;
  void wantLive(bool wanted) override;
  void listen(std::weak_ptr<FrameListener> listener) override { audience_.add(listener); }
  void note(std::string who, std::string text) override {
    board_.note(std::move(who), std::move(text));
  }

 private:
  void openNow();
  void closeNow(Link link, bool onlyIfUnused = false);
  void closeIfUnused();
  /// The camera was unplugged, but may be back already.
  void lost();
  void showStatus();
  void tick();
  /// Calls a function with the open camera; false if it is not open. The mutex is held meanwhile:
  /// the function must neither wait for the camera nor ask for its status.
  bool withOpen(const std::function<void(OpenCamera&)>& function) const;
  /// The same for a control job.
  void post(std::function<void(OpenCamera&, Camera&)> job, Done done);

  const OnFleetThread onFleetThread_;
  StatusBoard board_;
  Audience audience_;

  mutable std::mutex mutex_;
  CameraIdentity identity_;
  Link link_ = Link::kAbsent;
  std::string device_;  ///< for Camera::open()
  std::set<User> users_;
  std::vector<Done> waiting_;  ///< who wait for it to be open
  bool liveWanted_ = false;
  std::shared_ptr<const Description> description_;
  std::deque<TemperatureSample> temperatures_;
  std::unique_ptr<OpenCamera> open_;
};

}  // namespace orvik::server
