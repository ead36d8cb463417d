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

/// How often automatic control takes a step.
struct AutoPace {
  std::chrono::milliseconds round{};
  int roundsPerBalance = 1;       ///< the white balance takes a step every so many rounds
  std::uint64_t slowFrameUs = 0;  ///< from this exposure or frame time on, frames set the pace
};

AutoPace autoPaceOf(const ModelRow& model);

/// Automatic exposure, gain and white balance during one video.
///
/// Fast frames are judged in rounds, by a thread that asks for the measurement of a fresh frame and
/// then takes a step; slow ones by the capture worker itself, every second one. No frame is judged
/// twice, and none that was not exposed wholly with the present settings: a frame that was on its
/// way when they changed says nothing about them.
///
/// Both only try the settings lock (RegulatorAccess). When a setter is at work they leave the step
/// out, and they take it from the values that stand when they hold the lock: what was switched off
/// or set by hand since the frame was measured stays as it is.
///
/// All but the thread's part belongs to the capture worker.
class AutoControl {
 public:
  /// What thread and worker share, by shared ownership.
  struct Parts {
    AutoPace pace;
    std::shared_ptr<const CameraState> state;
    std::shared_ptr<RegulatorAccess> settings;
    std::shared_ptr<StopSwitch> stop;
  };

  explicit AutoControl(Parts parts);
  /// As end().
  ~AutoControl();
  AutoControl(const AutoControl&) = delete;
  AutoControl& operator=(const AutoControl&) = delete;

  /// Starts the thread. Without one to be had, pictures stay as they are.
  void start();

  /// Sees a good frame, which is left as it is, and measures it if that is due.
  void look(std::span<const std::uint8_t> frame, const FrameFormat& format,
            const FrameFacts& facts);
  /// Does with the measurement what there is to do. It may take a while: the frame should be on its
  /// way.
  void act();

  /// Throws the stop switch and waits for the thread, half a second at most. A thread that is still
  /// in the middle of a request to the camera then ends by itself, with it.
  void end();

 private:
  [[nodiscard]] bool isSlow() const;

  Parts parts_;
  std::shared_ptr<FrameProbe> probe_;
  WorkerThread thread_;
  std::optional<FrameMeasurement> measured_;
  bool slow_ = false;        ///< the frame that was measured
  bool secondFrame_ = true;  ///< whether the next slow frame is the second of two
};

}  // namespace orvik
