// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>

#include "base/stop_switch.h"
#include "capture/bulk_stream.h"
#include "capture/capture.h"
#include "capture/capture_laws.h"
#include "capture/frame_protocol.h"
#include "capture/frame_queue.h"
#include "controls/auto_control.h"
#include "controls/regulator_access.h"
#include "link/vendor_link.h"
#include "state/camera_state.h"

namespace orvik {

/// All objects that a capture worker uses, by shared ownership: they stay valid for a worker that
/// could not be stopped in time.
struct CaptureParts {
  std::shared_ptr<VendorLink> link;
  std::shared_ptr<CameraState> state;
  std::shared_ptr<RegulatorAccess> settings;
  std::shared_ptr<const FrameProtocol> protocol;
  std::shared_ptr<seam::Clock> clock;
  AutoPace autoPace;

  // Made for each capture by CaptureSession
  std::shared_ptr<Capture> capture;
  std::shared_ptr<FrameQueue> queue;
  std::shared_ptr<StopSwitch> stop;
  std::shared_ptr<FramePair> frames;
};

/// Reads frames from the camera until it is stopped, or in snapshot mode until one frame is good.
/// It is the only reader of the bulk endpoint, and lives on a thread of its own, which calls run()
/// once.
class CaptureWorker {
 public:
  explicit CaptureWorker(CaptureParts parts);

  void run();

 private:
  enum class Next : std::uint8_t { kGoOn, kLeave };
  using Time = seam::Clock::Duration;

  void start();
  void runSensor();
  void restartCamera();
  void finish();
  Next step();
  Next onEmpty(bool pipeFailed);
  void onBadFrame();
  Next onGoodFrame();
  Next end(Orvik_EXPOSURE_STATUS status, NoFrame why);
  void exposeLong();
  bool sleepThroughExposure(std::uint64_t exposureUs);
  void discardStaleData();
  void followExposureMode();
  void lowerBandwidth();
  [[nodiscard]] FrameFacts describeFrame() const;
  [[nodiscard]] std::chrono::milliseconds readTimeout() const;
  [[nodiscard]] std::span<std::uint8_t> currentFrame() const;
  [[nodiscard]] bool isSnapshot() const { return parts_.capture->isSnapshot(); }

  CaptureParts parts_;
  VendorLink& link_;
  CameraState& state_;
  const FrameProtocol& protocol_;
  StopSwitch& stop_;

  const FrameFormat format_;
  bool longExposure_ = false;  ///< the mode in which the camera runs
  BulkStream stream_;
  BandwidthFallback fallback_;
  AutoControl automatic_;  ///< idle in snapshot mode
  std::uint32_t badFrames_ = 0;
  int badFramesInARow_ = 0;
  int emptyReads_ = 0;
  std::uint64_t frameNumber_ = 0;    ///< of the frame that is being read; lost ones are counted
  std::uint32_t lostSincePush_ = 0;  ///< frames lost since the last one that was queued
  Time runningSince_{};              ///< when the sensor was started
  Time exposureBegun_{};             ///< of the last exposure that the host timed
  Time exposureEnded_{};
};

}  // namespace orvik
