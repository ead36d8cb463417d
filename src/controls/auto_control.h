// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "base/stop_switch.h"
#include "base/worker_thread.h"
#include "controls/frame_measurement.h"
#include "controls/frame_probe.h"
#include "controls/regulator_access.h"
#include "state/camera_state.h"
#include "state/frame_facts.h"
#include "state/frame_format.h"
#include "state/model_row.h"

namespace orvik {

/// How often automatic control makes a step.
struct AutoPace {
  std::chrono::milliseconds round{};
  int roundsPerBalance = 1;       ///< number of rounds from one white balance step to the next
  std::uint64_t slowFrameUs = 0;  ///< frames are slow from this exposure or frame time on
};

AutoPace autoPaceOf(const ModelRow& model);

/// Automatic exposure, gain and white balance during one video.
///
/// Fast frames are evaluated in rounds, by a thread that requests the measurement of a new frame
/// and then makes a step; slow ones by the capture worker itself, every second one. No frame is
/// evaluated twice, and only frames that were exposed entirely with the present settings are used:
/// a frame that was on its way when they changed tells nothing about them.
///
/// Both threads only try the settings lock (RegulatorAccess). They skip the step while a setter is
/// at work, and base it on the values at the time when they hold the lock: a value that was set by
/// hand, or switched to manual, since the measurement stays as it is.
///
/// All functions are for the capture worker.
class AutoControl {
 public:
  /// The objects that thread and worker use, by shared ownership.
  struct Parts {
    AutoPace pace;
    std::shared_ptr<const CameraState> state;
    std::shared_ptr<RegulatorAccess> settings;
    std::shared_ptr<StopSwitch> stop;
  };

  explicit AutoControl(Parts parts);
  /// Calls end().
  ~AutoControl();
  AutoControl(const AutoControl&) = delete;
  AutoControl& operator=(const AutoControl&) = delete;

  /// Starts the thread. If the system cannot start one, fast frames are not regulated.
  void start();

  /// Looks at a good frame, without changing it, and measures it if that is due.
  void look(std::span<const std::uint8_t> frame, const FrameFormat& format,
            const FrameFacts& facts);
  /// Acts on the measurement. This may take a while, so pass the frame on first.
  void act();

  /// Throws the stop switch and waits for the thread, half a second at most. A thread that is in
  /// the middle of a request ends when the request does.
  void end();

 private:
  [[nodiscard]] bool isSlow() const;

  Parts parts_;
  std::shared_ptr<FrameProbe> probe_;
  WorkerThread thread_;
  std::optional<FrameMeasurement> measured_;
  bool slow_ = false;        ///< whether the last frame was a slow one
  bool secondFrame_ = true;  ///< whether the next slow frame is the second of two
};

}  // namespace orvik
