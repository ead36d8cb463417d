// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "integrations/server/camera/failure.h"
#include "integrations/server/camera/frame_store.h"
#include "integrations/server/camera/identity.h"
#include "integrations/server/camera/status.h"

namespace orvik::server {

/// Who keeps a camera open.
enum class User { kAlpaca, kPage, kCapture };

/// Sees the frames of a camera. On the capture thread: it must return at once, keeping the frame if
/// it wants to look at it.
class FrameListener {
 public:
  virtual ~FrameListener() = default;
  virtual void frame(const SharedFrame& frame) = 0;
};

/// What a capture works with while it has the camera for itself.
class CaptureContext {
 public:
  virtual ~CaptureContext() = default;
  virtual Camera& camera() = 0;
  /// Requested by ServedCamera::stopCapture(), and when the camera is closed. The capture has to
  /// return soon.
  [[nodiscard]] virtual const std::stop_token& stop() const = 0;
  /// A frame of the live view's settings or of others that viewers may see, too.
  virtual void show(const SharedFrame& frame) = 0;
  /// Sets the page's settings on the camera: those that the live view has.
  virtual void usePageSettings() = 0;
};

/// A capture: runs on the camera's capture thread while the live view pauses. An exception becomes
/// the Failure of its `done`.
struct Capture {
  std::string what;  ///< for users: "exposure of 60 s by Alpaca"
  /// Whether it sets exposure, gain, format and so on itself. Then what the page sets meanwhile is
  /// kept for afterwards; otherwise the page's settings are in effect, and changes act at once.
  bool hasOwnSettings = true;
  std::function<void(CaptureContext&)> run;
  Done done;  ///< called on the capture thread, when the camera is free again
};

/// One camera that the server lends: opened when somebody wants it, shared by all. Any thread may
/// call the functions, and none of them waits for the camera: what takes time tells its outcome to
/// a Done.
///
/// Three threads work for an open camera: one captures, one sets and asks, and pulses of the guide
/// port run on their own. Opening and closing is done by the fleet's thread.
class ServedCamera {
 public:
  virtual ~ServedCamera() = default;

  [[nodiscard]] virtual CameraIdentity identity() const = 0;
  /// The present status; never null. A cheap copy of a pointer.
  [[nodiscard]] virtual std::shared_ptr<const CameraStatus> status() const = 0;
  /// Properties and controls of the camera while it is open, else null. They stay valid.
  struct Description {
    Orvik_CAMERA_INFO info{};
    std::vector<Control> controls;
    [[nodiscard]] const Control* control(Orvik_CONTROL_TYPE type) const;
  };
  [[nodiscard]] virtual std::shared_ptr<const Description> description() const = 0;

  /// Calls a function after each change of the status, on any thread; it must return at once. Ends
  /// when the returned object is destroyed, which waits for a call that is going on; so not from
  /// the function itself.
  [[nodiscard]] virtual std::shared_ptr<void> onChange(std::function<void()> function) = 0;

  /// Opens the camera, if it is not, and keeps it open until the same user closes it.
  virtual void open(User user, Done done) = 0;
  /// The user does not need it any more. With the last one the camera is closed; a capture that
  /// runs, and a cooler that is on, keep it open, too.
  virtual void close(User user, Done done) = 0;
  /// Whether this user keeps it open. False once it was unplugged.
  [[nodiscard]] virtual bool isOpenFor(User user) const = 0;

  /// Runs a job on the thread that sets and asks, one after the other; an exception becomes its
  /// failure. The status is renewed before `done` is called. Without an open camera: kNotOpen.
  virtual void control(std::function<void(Camera&)> job, Done done) = 0;

  /// @name The page's settings
  /// Those of the live view. They come back after a capture with settings of its own.
  /// @{
  virtual void setControl(Orvik_CONTROL_TYPE type, ControlValue value, Done done) = 0;
  /// Fails with kBadValue if the region is too small for the bin, or bin or type are not offered.
  virtual void setFormat(const imaging::Region& region, int bin, IMG_TYPE type, Done done) = 0;
  /// @}

  /// @name Cooling
  /// @{
  /// Leads the sensor to a temperature along a ramp and holds it. Degrees Celsius, per minute.
  virtual void coolTo(int celsius, double degreesPerMinute, Done done) = 0;
  /// Leads it back to where it was before cooling, and switches the cooler off.
  virtual void warmUp(double degreesPerMinute, Done done) = 0;
  /// Ends a ramp and sets what has a value, at once.
  virtual void setCooler(std::optional<bool> on, std::optional<int> target, Done done) = 0;
  /// Temperatures of the last half hour, the oldest first.
  [[nodiscard]] virtual std::vector<TemperatureSample> temperatures() const = 0;
  /// @}

  /// @name Guide port
  /// @{
  /// Gives a pulse; `done` is told at its end. A new pulse on a line replaces the running one.
  virtual void pulse(GuideD line, std::chrono::milliseconds length, Done done) = 0;
  /// Switches a line on for at most a second, again and again while a button is held: when the
  /// calls cease the line goes off.
  virtual void holdLine(GuideD line) = 0;
  /// Switches a line off at once, or ends its pulse.
  virtual void releaseLine(GuideD line) = 0;
  /// @}

  /// @name Capture
  /// @{
  /// Begins a capture, unless one is under way: then false, and neither of its functions is called.
  /// Of several callers exactly one succeeds. Also false if the camera is not open.
  virtual bool tryCapture(Capture capture) = 0;
  /// Requests the running capture to stop, if there is one.
  virtual void stopCapture() = 0;
  /// Whether the live view is wanted. It runs whenever no capture does.
  virtual void wantLive(bool wanted) = 0;
  /// Shows a listener all frames of live views, and of captures that share theirs, from now on.
  virtual void listen(std::weak_ptr<FrameListener> listener) = 0;
  /// @}

  /// Adds to the events that everybody sees.
  virtual void note(std::string who, std::string text) = 0;
};

}  // namespace orvik::server
