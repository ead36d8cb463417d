// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

#include "integrations/server/alpaca/camera_view.h"
#include "integrations/server/alpaca/exposure_job.h"
#include "integrations/server/alpaca/image_room.h"
#include "integrations/server/camera/guide_wiring.h"

namespace orvik::server {

/// Told how a PUT has ended, once, on any thread. Empty on success.
using PutDone = std::function<void(const std::optional<AlpacaError>&)>;

/// A camera as Alpaca's clients share it: connected or not, with settings for the next exposure and
/// the image of the last one. Any thread; nothing waits for the camera. Functions without a PutDone
/// have succeeded when they return; all throw an AlpacaError at a request that cannot be met.
class AlpacaCamera : public std::enable_shared_from_this<AlpacaCamera> {
 public:
  static std::shared_ptr<AlpacaCamera> make(std::shared_ptr<ServedCamera> served,
                                            const GuideWiring& wiring);
  AlpacaCamera(const AlpacaCamera&) = delete;
  AlpacaCamera& operator=(const AlpacaCamera&) = delete;
  ~AlpacaCamera() = default;

  /// Does not follow the camera any more, before the object is left to the calls that still use it:
  /// the last of them may end on a thread that must not wait.
  void release() { watch_.reset(); }

  [[nodiscard]] CameraView view() const;

  /// Opens the camera for all clients. When it is open already this does nothing.
  void connect(const PutDone& done);
  /// Aborts the exposure, switches off the guide lines that clients have switched on, and closes
  /// the camera for all clients.
  void disconnect(const PutDone& done);

  void setBin(int bin);
  /// Sets NumX, NumY, StartX or StartY.
  void setSubframe(int Subframe::*member, int value);
  void setReadoutMode(int mode);
  void setGain(int gain);
  void setOffset(int offset);

  void setCooler(bool on, const PutDone& done);
  void setTarget(double celsius, const PutDone& done);

  void startExposure(double seconds, bool isLight);
  /// Told when the camera has stopped. Without an exposure it does nothing.
  void abortExposure(const PutDone& done);

  /// Begins a pulse. @param direction 0 north, 1 south, 2 east, 3 west
  void pulseGuide(int direction, int milliseconds);

  /// Adds to the events that everybody sees.
  void note(const std::string& who, std::string text) { served_->note(who, std::move(text)); }

 private:
  struct Exposure;
  using Description = ServedCamera::Description;

  AlpacaCamera(std::shared_ptr<ServedCamera> served, const GuideWiring& wiring)
      : served_(std::move(served)), wiring_(wiring) {}

  /// Notices that the camera was unplugged, and what it is when it was opened.
  void follow();
  /// What requests are checked with. @throws AlpacaError if the camera was never open
  [[nodiscard]] std::shared_ptr<const Description> known() const;
  [[nodiscard]] const Control& knownControl(const Description& camera, Orvik_CONTROL_TYPE type,
                                            const char* name) const;

  void opened(const Outcome& outcome, const PutDone& done);
  void closeServed(const PutDone& done);
  /// Ends the connection: the exposure is aborted, its image and the former one are of no interest.
  /// Returns the lines that are to be switched off. Under the lock.
  std::vector<GuideD> forget();

  [[nodiscard]] ExposureRequest requestFor(double seconds, bool isLight) const;
  void expose(Exposure& exposure, CaptureContext& context);
  void ended(Exposure& exposure, const Outcome& outcome);
  void exposureIsOver();

  const std::shared_ptr<ServedCamera> served_;
  const GuideWiring wiring_;
  ImageRoom room_;

  mutable std::mutex mutex_;  // held shortly, and never while the served camera is called
  std::shared_ptr<const Description> description_;  ///< of the last time when it was open
  bool isWanted_ = false;                           ///< what clients have asked for last
  bool isConnected_ = false;
  int connections_ = 0;  ///< how often it was connected
  int transitions_ = 0;  ///< openings and closings under way
  std::optional<AlpacaError> connectFailure_;
  ExposureSettings settings_;
  std::shared_ptr<ExposureState> exposures_ = std::make_shared<ExposureState>();
  std::vector<std::function<void()>> afterExposure_;  ///< to be called when it has ended
  std::array<int, 4> pulses_{};                       ///< pulses under way, by line
  std::optional<AlpacaError> pulseFailure_;

  // The last member: a call that is going on ends before anything else is destroyed.
  std::shared_ptr<void> watch_;
};

}  // namespace orvik::server
