// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "capture/capture_session.h"
#include "capture/frame_pool.h"
#include "capture/frame_protocol.h"
#include "capture/frame_queue.h"
#include "controls/image_regulator.h"
#include "controls/regulator_access.h"
#include "delivery/dark_frame.h"
#include "delivery/frame_delivery.h"
#include "delivery/hot_pixels.h"
#include "link/guide_lines.h"
#include "link/memory_work.h"
#include "link/spi_flash.h"
#include "link/vendor_link.h"
#include "orvik/orvik.h"
#include "settings/setting_values.h"
#include "state/camera_state.h"
#include "state/frame_format.h"
#include "state/model_row.h"

namespace orvik {

class CooledCamera;

/// One camera: its life cycle, its settings and its captures. The class contains what all models
/// have in common; the family of a model says how a setting reaches the sensor. The work is done by
/// the parts: vendor link, guide lines, capture, delivery, dark frame, hot pixels, saved settings.
///
/// Life cycle: construct, open(), initialise(), setters and startCapture() / takeImage() /
/// stopCapture() any number of times, close(), destroy. The most derived class must call
/// endCapture() in its destructor: the worker calls virtual functions until then.
///
/// Threads: open(), initialise(), close(), startCapture() and stopCapture() for one thread at a
/// time; takeImage() for one thread at a time, which may be another; everything else for any
/// thread.
class Camera : public RegulatedSettings {
 public:
  ~Camera() override;

  // Life cycle
  /// Opens the n-th device of this model. @param ordinal counted from 1
  bool open(int ordinal);
  /// Opens one device of this model.
  /// @return false also when the device is no longer the one that `device` describes
  bool open(const seam::DeviceInfo& device);
  /// Prepares the sensor of an open camera and applies the stored settings.
  virtual bool initialise() = 0;
  /// Ends capture and guide pulses, saves the settings, brings the camera to rest and closes the
  /// device.
  bool close();
  /// Finds the device again after it was unplugged and plugged in, or stopped responding: drops the
  /// device object and opens the same camera through a new one 50 ms later, with one retry a second
  /// after that. The sensor then needs initialise(). Not during capture.
  bool reconnect();
  [[nodiscard]] bool isOpen() const { return link_->isOpen(); }
  /// Whether a request has found the device unplugged since it was opened.
  [[nodiscard]] bool isUnplugged() const { return link_->isGone(); }
  /// The device that was opened last, as the host listed it, and its serial number, "" for none.
  [[nodiscard]] const seam::DeviceInfo& device() const { return device_; }
  [[nodiscard]] std::string serialNumber() const;
  /// Fills all fields except the index of the camera.
  void describe(Orvik_CAMERA_INFO& info) const;

  // Image format
  /// @param width, height pixels after binning; the region is centred on the sensor
  virtual bool setResolution(int width, int height, int bin, IMAGE_TYPE type) = 0;
  /// @param x, y sensor pixels; rounded, and limited to the sensor
  virtual bool setStartPosition(int x, int y) = 0;
  /// Sets the raw-output flag and calls setResolution(). Readers of the format see this as one
  /// change.
  /// @param changed called with the new format on success, before another thread can change it
  bool setFormat(int width, int height, int bin, IMAGE_TYPE type, bool rawOutput,
                 const std::function<void(const FrameFormat&)>& changed);
  /// The format that was set last.
  [[nodiscard]] FrameFormat format() const;
  /// The sensor pixels that frames of the present format show.
  [[nodiscard]] FrameRegion region() const;

  // Settings, in addition to those of RegulatedSettings. They return false when the model does not
  // offer the control, or the camera did not accept the value.
  virtual bool setBrightness(int value) = 0;
  virtual bool setHighSpeedMode(bool on) = 0;
  virtual bool setHardwareBin(bool on) = 0;
  /// @param percent above the nominal frequency of the sensor, 0 to 30
  virtual bool setOverclock(int) { return false; }
  /// Sets the value that nextGamma() returns, and rebuilds the tables.
  void setGamma(int value);
  void setFlip(bool horizontal, bool vertical);

  // Controls by public number
  /// @param type an Orvik_CONTROL_TYPE, or any other number
  Orvik_ERROR_CODE setControl(int type, std::int32_t value, bool automatic);
  struct ControlValue {
    std::int32_t value = 0;
    bool automatic = false;
  };
  /// @return nothing when there is no such control, or no value at present.
  std::optional<ControlValue> readControl(int type);

  // Capture and images
  virtual bool startCapture(bool snapshot);
  /// Saves the settings if this ends a video.
  bool stopCapture();
  /// Drops a snapshot that has ended, and its image.
  void forgetCapture();
  /// The captures, with the state of the present one.
  [[nodiscard]] const CaptureSession& capture() const { return capture_; }
  /// Delivers one image, with or without a timeout. @return why there is no image, if there is
  /// none.
  std::optional<NoFrame> takeImage(std::span<std::uint8_t> image, FrameQueue::Timeout timeout) {
    return delivery_.deliver(image, timeout);
  }
  /// The facts about the image that was delivered last; nothing before the first.
  [[nodiscard]] std::optional<DeliveredImage> lastImage() const { return delivery_.lastImage(); }
  [[nodiscard]] FrameDelivery& delivery() { return delivery_; }
  /// The frame rate that results from the present timing and exposure; 0 before the timing is
  /// known.
  [[nodiscard]] double expectedFrameRate() const;
  /// Bits of the converter in the present mode; 0 if unknown.
  [[nodiscard]] virtual int converterBits() const { return 0; }

  // Temperature
  /// Reads the sensor's thermometer. @return degrees Celsius; the last reading if the camera does
  /// not answer.
  virtual float readTemperature() { return 0.0F; }
  /// The recent reading of the temperature thread, if the camera has one, else readTemperature().
  float temperature();
  /// This camera as a cooled one. @return null when it has no cooler.
  virtual CooledCamera* cooled() { return nullptr; }
  /// Changes the target; regulation stays on or off. @param celsius degrees Celsius
  /// @return false without a cooler.
  virtual bool setTargetTemperature(int) { return false; }
  /// Switches regulation on, or switches regulation and power off; the target stays.
  /// @return false without a cooler, or when the camera did not acknowledge the switching off of
  ///         the power. The request is then repeated after the next one that succeeds.
  virtual bool switchCooler(bool) { return false; }

  // Corrections
  [[nodiscard]] DarkFrame& dark() { return dark_; }
  [[nodiscard]] const DarkFrame& dark() const { return dark_; }
  /// Begins to record a dark frame from delivered 8-bit frames of the whole sensor.
  /// @return how many frames it needs at the present exposure.
  int startDarkRecording();
  [[nodiscard]] HotPixels& hotPixels() { return hotPixels_; }
  [[nodiscard]] const HotPixels& hotPixels() const { return hotPixels_; }
  /// Makes the table from the dark frame. @return false without one.
  bool deriveHotPixels();
  /// Makes the table from the dark frame, if there is one, and saves it in the camera. Not during
  /// capture.
  HotPixelSaving saveHotPixels();
  /// Reads the table from the camera. Not during capture.
  bool loadHotPixels();

  /// Requests permission to work on the camera's flash, boot memory or bridge RAM. While the permit
  /// exists, capture does not start and close() waits. For threads that hold neither another permit
  /// nor the flash. Waits for a running setter, and up to five seconds for the end of a snapshot's
  /// worker.
  /// @return an empty permit while capture runs or the camera is being closed.
  [[nodiscard]] MemoryWork::Permit beginMemoryWork();
  /// Access to the flash, valid as long as the camera exists.
  [[nodiscard]] SpiFlash flash(FlashRequests requests = {}) const {
    return {link(), clock(), requests};
  }

  // The stored settings of the user, a group for each model and for each camera
  /// Reads the settings into the state, each limited to the range of the model. A missing or
  /// damaged setting keeps its present value. A stored exposure above 0.1 s becomes 0.1 s. A dark
  /// frame that is switched on is loaded once the camera is open, at the latest by initialise().
  void loadSettings(std::string_view name) noexcept;
  /// Saves the settings. Waits up to a second for another program.
  /// @return false when they could not be saved.
  bool saveSettings(std::string_view name) noexcept;
  /// Loads what was saved for this very camera, which is open, over the settings of its model. From
  /// now on settings are saved under both names, so that cameras of one model do not overwrite each
  /// other's, and a new one begins as the last of its model. Without a serial number it does
  /// nothing.
  void loadOwnSettings() noexcept;
  /// Saves the settings for the model, and for the camera after loadOwnSettings(). The rest as
  /// saveSettings().
  bool keepSettings() noexcept;
  /// Removes what keepSettings() has saved. The present settings stay, and are not saved unless
  /// they change. The rest as saveSettings().
  bool forgetSettings() noexcept;
  /// Sets all controls but the cooler's switch to the values of a new camera of the model, and
  /// switches the dark frame off.
  /// @return false when the camera did not take one of them.
  virtual bool resetSettings();

  // The parts
  [[nodiscard]] VendorLink& link() const { return *link_; }
  [[nodiscard]] GuideLines& guideLines() { return guideLines_; }
  [[nodiscard]] seam::Clock& clock() const { return *clock_; }
  [[nodiscard]] CameraState& state() { return *state_; }
  [[nodiscard]] const CameraState& state() const { return *state_; }
  [[nodiscard]] const ModelRow& model() const { return model_; }
  /// Must be used with the settings locked.
  [[nodiscard]] ImageRegulator& regulator() { return regulator_; }
  /// Held by a setter while it writes values that belong together.
  [[nodiscard]] std::unique_lock<SettingsLock> lockSettings() {
    return std::unique_lock(*settingsLock_);
  }

  std::optional<ColourValues> measureColour(const RawFrame& frame, int hostBin) override;

 protected:
  /// @param model must outlive the camera
  /// @param protocol how the model streams
  Camera(const ModelRow& model, std::shared_ptr<const FrameProtocol> protocol);

  /// Ends capture and denies the worker access to this object. Saves the settings if this ends a
  /// video.
  void endCapture();
  /// Adapts dark frame and hot pixels to another region.
  void followRegion();
  /// Makes the present format visible to its readers. Called at the end of a change, with the
  /// settings locked.
  void publishFormat();
  /// Records that the present settings have been written to the sensor. Called by setters, with the
  /// settings locked.
  void noteSettings() { state_->settingsHistory.note(state_->frameSettings(), clock_->now()); }

  class CapturePause;  ///< capture_pause.h
  void loadKeptDark();
  /// The settings that saveSettings() would save now.
  [[nodiscard]] settings::Group presentSettings();
  /// Called at the end of initialise(): changes that initialise() made itself are no reason to
  /// save.
  /// @param before the settings at its beginning
  void settleSettings(const settings::Group& before);

  // For a thread of a derived class, which shares the ownership of what it uses
  [[nodiscard]] const std::shared_ptr<CameraState>& sharedState() const { return state_; }
  [[nodiscard]] const std::shared_ptr<VendorLink>& sharedLink() const { return link_; }
  [[nodiscard]] const std::shared_ptr<seam::Clock>& sharedClock() const { return clock_; }

  // Hooks for kinds of cameras
  /// Called at the end of initialise().
  virtual void onInitialised() {}
  /// Called before the device is released, by close() or by the destructor; capture has stopped.
  virtual void onClosing() {}

 private:
  bool beginCapture(bool snapshot);
  void endWork();
  void endLink();
  bool connect(const seam::DeviceInfo& wanted);
  bool connectAgain();
  [[nodiscard]] bool isVideoRunning() const;
  bool saveGroup(std::span<const std::string> names, const settings::Group& group) noexcept;
  /// What is to be saved when the camera is closed: after a video or a snapshot, and if the
  /// settings differ from those last loaded or saved.
  [[nodiscard]] std::optional<settings::Group> settingsToSave() noexcept;
  void noteCorrections();
  [[nodiscard]] std::optional<ControlValue> ofCooler(std::int32_t value) const;

  const ModelRow& model_;
  std::atomic<const char*> name_;  ///< of the model, and of the product once it has been opened
  int ordinal_ = 0;                ///< of the last open(); 0 if that was open(device)
  seam::DeviceInfo device_;        ///< of the last open()
  const std::shared_ptr<seam::Clock> clock_;
  const std::string settingsFolder_;  ///< of the host that the camera came from
  const std::shared_ptr<CameraState> state_;
  std::optional<settings::Group> kept_;     ///< as last loaded or saved; empty before initialise()
  std::vector<std::string> settingsNames_;  ///< under which keepSettings() saves
  const std::shared_ptr<VendorLink> link_;
  GuideLines guideLines_;
  const std::shared_ptr<SettingsLock> settingsLock_ = std::make_shared<SettingsLock>();
  ImageRegulator regulator_;
  const std::shared_ptr<RegulatorAccess> regulatorAccess_;
  MemoryWork memoryWork_;
  const std::shared_ptr<const FrameProtocol> protocol_;
  mutable std::mutex formatLock_;
  FrameFormat publishedFormat_;  ///< guarded by formatLock_; never shows half of a change
  const std::shared_ptr<FramePool> framePool_;
  const std::shared_ptr<FrameQueue> queue_;
  DarkFrame dark_;
  HotPixels hotPixels_;
  FrameDelivery delivery_;
  CaptureSession capture_;
};

}  // namespace orvik
