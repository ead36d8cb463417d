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

/// One camera: its life, its settings and its captures. What every model has in common; a model's
/// family says how a setting reaches the sensor. The work is done by the parts: vendor link, guide
/// lines, capture, delivery, dark frame, hot pixels, kept settings.
///
/// Order of life: construct, open(), initialise(), setters and startCapture() / takeImage() /
/// stopCapture() as often as wanted, close(), destroy. A class of which objects are made calls
/// endCapture() in its own destructor: the worker calls virtual functions until then.
///
/// Threads: open(), initialise(), close(), startCapture() and stopCapture() for one thread at a
/// time; takeImage() for one thread at a time, which may be another; everything else for any
/// thread.
class Camera : public RegulatedSettings {
 public:
  ~Camera() override;

  // Life
  /// Opens the n-th device of this model. @param ordinal counted from 1
  bool open(int ordinal);
  /// Opens one device of this model.
  /// @return false also when the device is no longer the one that `device` describes
  bool open(const seam::DeviceInfo& device);
  /// Prepares the sensor of an open camera, and gives it the stored settings.
  virtual bool initialise() = 0;
  /// Ends capture and pulses, keeps the settings, brings the camera to rest and closes the device.
  bool close();
  /// Finds the device again after it was unplugged and plugged in, or fell silent: lets go of the
  /// device object, and opens the same camera through a new one 50 ms later, or at a second try
  /// one second after that. The sensor then needs initialise(). Not during capture.
  bool reconnect();
  [[nodiscard]] bool isOpen() const { return link_->isOpen(); }
  /// Whether a request has found the device unplugged since it was opened.
  [[nodiscard]] bool isUnplugged() const { return link_->isGone(); }
  /// The device that was opened last, as the host listed it, and its serial number, "" for none.
  [[nodiscard]] const seam::DeviceInfo& device() const { return device_; }
  [[nodiscard]] std::string serialNumber() const;
  /// Fills all but the camera's index.
  void describe(Orvik_CAMERA_INFO& info) const;

  // Image format
  /// @param width, height pixels after binning; the region is centred on the sensor
  virtual bool setResolution(int width, int height, int bin, IMAGE_TYPE type) = 0;
  /// @param x, y sensor pixels; rounded and kept within the sensor
  virtual bool setStartPosition(int x, int y) = 0;
  /// Sets the raw-output flag and calls setResolution(), as one change for whoever reads the
  /// format.
  /// @param changed told the new format on success, before another thread can change it again
  bool setFormat(int width, int height, int bin, IMAGE_TYPE type, bool rawOutput,
                 const std::function<void(const FrameFormat&)>& changed);
  /// The format that was set last.
  [[nodiscard]] FrameFormat format() const;
  /// The sensor pixels that frames of the present format show.
  [[nodiscard]] FrameRegion region() const;

  // Settings, beside those of RegulatedSettings. False where the model does not offer the control,
  // or the camera did not take the value.
  virtual bool setBrightness(int value) = 0;
  virtual bool setHighSpeedMode(bool on) = 0;
  virtual bool setHardwareBin(bool on) = 0;
  /// @param percent beyond the sensor's frequency, 0 to 30
  virtual bool setOverclock(int) { return false; }
  /// Follows nextGamma(); rebuilds the tables.
  void setGamma(int value);
  void setFlip(bool horizontal, bool vertical);

  // Controls by their public number
  /// @param type an Orvik_CONTROL_TYPE, or any other number
  Orvik_ERROR_CODE setControl(int type, std::int32_t value, bool automatic);
  struct ControlValue {
    std::int32_t value = 0;
    bool automatic = false;
  };
  /// @return none when there is no such control, or no value at present.
  std::optional<ControlValue> readControl(int type);

  // Capture and images
  virtual bool startCapture(bool snapshot);
  /// Keeps the settings when that ends a video.
  bool stopCapture();
  /// Forgets a snapshot that has ended, and its image.
  void forgetCapture();
  /// How the present capture stands.
  [[nodiscard]] const CaptureSession& capture() const { return capture_; }
  /// Delivers one image, with a timeout or without. @return why there is none.
  std::optional<NoFrame> takeImage(std::span<std::uint8_t> image, FrameQueue::Timeout timeout) {
    return delivery_.deliver(image, timeout);
  }
  /// What is known of the image that was delivered last; none before the first.
  [[nodiscard]] std::optional<DeliveredImage> lastImage() const { return delivery_.lastImage(); }
  [[nodiscard]] FrameDelivery& delivery() { return delivery_; }
  /// Frames a second that the present timing and exposure give; 0 before the timing is known.
  [[nodiscard]] double expectedFrameRate() const;
  /// Bits of the converter in the present mode; 0 where they are not known.
  [[nodiscard]] virtual int converterBits() const { return 0; }

  // Temperature
  /// Asks the camera. @return degrees Celsius; the last reading when it does not answer.
  virtual float readTemperature() { return 0.0F; }
  /// What a thread has measured lately, where there is one, else readTemperature().
  float temperature();
  /// The camera as a cooled one. @return null when it has no cooler.
  virtual CooledCamera* cooled() { return nullptr; }
  /// Changes the target and leaves regulation on or off. @param celsius degrees Celsius
  /// @return false without a cooler.
  virtual bool setTargetTemperature(int) { return false; }
  /// Switches regulation on, or off and the power with it; the target stays.
  /// @return false without a cooler, or when the camera did not acknowledge that there is to be no
  ///         power. It is told again by the next request that gets through.
  virtual bool switchCooler(bool) { return false; }

  // Corrections
  [[nodiscard]] DarkFrame& dark() { return dark_; }
  [[nodiscard]] const DarkFrame& dark() const { return dark_; }
  /// Begins to take a dark from delivered 8-bit frames of the whole sensor.
  /// @return how many frames it takes at the present exposure.
  int startDarkRecording();
  [[nodiscard]] HotPixels& hotPixels() { return hotPixels_; }
  [[nodiscard]] const HotPixels& hotPixels() const { return hotPixels_; }
  /// Makes the table from the dark. @return false without one.
  bool deriveHotPixels();
  /// Makes the table from the dark, if there is one, and saves it in the camera. Not during
  /// capture.
  HotPixelSaving saveHotPixels();
  /// Reads the table from the camera. Not during capture.
  bool loadHotPixels();

  /// Permission to work on the camera's flash, boot memory or bridge RAM: while it lives capture
  /// does not start, and close() waits. For threads that hold neither another permit nor the flash.
  /// Waits for a setter that is at work, and up to five seconds for a snapshot that is being put to
  /// rest.
  /// @return an empty one while capture runs or the camera is being closed.
  [[nodiscard]] MemoryWork::Permit beginMemoryWork();
  /// The way to the flash, for as long as the camera lives.
  [[nodiscard]] SpiFlash flash(FlashRequests requests = {}) const {
    return {link(), clock(), requests};
  }

  // The user's settings, one group for each model
  /// Reads the settings into the state, each brought within the model's limits. What is missing or
  /// damaged leaves its value as it is. A stored exposure above 0.1 s becomes 0.1 s. A dark frame
  /// that is switched on is loaded once the camera is open, at the latest by initialise().
  void loadSettings(std::string_view name) noexcept;
  /// Keeps the settings. Waits up to a second for another program.
  /// @return false when they could not be kept.
  bool saveSettings(std::string_view name) noexcept;
  /// saveSettings() under the model's name.
  bool keepSettings() noexcept { return saveSettings(model_.settingsName); }

  // The parts
  [[nodiscard]] VendorLink& link() const { return *link_; }
  [[nodiscard]] GuideLines& guideLines() { return guideLines_; }
  [[nodiscard]] seam::Clock& clock() const { return *clock_; }
  [[nodiscard]] CameraState& state() { return *state_; }
  [[nodiscard]] const CameraState& state() const { return *state_; }
  [[nodiscard]] const ModelRow& model() const { return model_; }
  /// To be used with the settings locked.
  [[nodiscard]] ImageRegulator& regulator() { return regulator_; }
  /// Held by a setter while it writes what belongs together.
  [[nodiscard]] std::unique_lock<SettingsLock> lockSettings() {
    return std::unique_lock(*settingsLock_);
  }

  std::optional<ColourValues> measureColour(const RawFrame& frame, int hostBin) override;

 protected:
  /// @param model must outlive the camera
  /// @param protocol how the model streams
  Camera(const ModelRow& model, std::shared_ptr<const FrameProtocol> protocol);

  /// Ends capture and bars the worker from this object. Keeps the settings when that ends a video.
  void endCapture();
  /// Dark and hot pixels follow the camera to another region.
  void followRegion();
  /// Lets readers of the format see the present one. Called at the end of a change, with the
  /// settings locked.
  void publishFormat();
  /// Notes that the sensor has been told its present settings. Called by setters, with the settings
  /// locked.
  void noteSettings() { state_->settingsHistory.note(state_->frameSettings(), clock_->now()); }

  class CapturePause;  ///< capture_pause.h
  void loadKeptDark();
  /// What saveSettings() would keep now.
  [[nodiscard]] settings::Group presentSettings();
  /// At the end of initialise(): what setting a camera up has changed by itself is no reason to
  /// save. @param before the settings at its beginning
  void settleSettings(const settings::Group& before);

  // For a thread of a derived class, which owns what it touches
  [[nodiscard]] const std::shared_ptr<CameraState>& sharedState() const { return state_; }
  [[nodiscard]] const std::shared_ptr<VendorLink>& sharedLink() const { return link_; }
  [[nodiscard]] const std::shared_ptr<seam::Clock>& sharedClock() const { return clock_; }

  // What a kind of camera does besides
  /// At the end of initialise().
  virtual void onInitialised() {}
  /// Before the device is let go of, by close() or at the camera's end; capture has stopped.
  virtual void onClosing() {}

 private:
  bool beginCapture(bool snapshot);
  void endWork();
  void endLink();
  bool connect(const seam::DeviceInfo& wanted);
  bool connectAgain();
  void saveAfterVideo();
  /// Keeps the settings after a snapshot, and where they are not those last loaded or saved.
  void saveAtClose() noexcept;
  void noteCorrections();
  [[nodiscard]] std::optional<ControlValue> ofCooler(std::int32_t value) const;

  const ModelRow& model_;
  std::atomic<const char*> name_;  ///< the opened product's, before that the model's
  int ordinal_ = 0;                ///< of the last opening; 0 when it was by the device itself
  seam::DeviceInfo device_;        ///< of the last opening
  const std::shared_ptr<seam::Clock> clock_;
  const std::string settingsFolder_;  ///< of the host that the camera came from
  const std::shared_ptr<CameraState> state_;
  std::optional<settings::Group> kept_;  ///< as last loaded or saved; none before initialise()
  const std::shared_ptr<VendorLink> link_;
  GuideLines guideLines_;
  const std::shared_ptr<SettingsLock> settingsLock_ = std::make_shared<SettingsLock>();
  ImageRegulator regulator_;
  const std::shared_ptr<RegulatorAccess> regulatorAccess_;
  MemoryWork memoryWork_;
  const std::shared_ptr<const FrameProtocol> protocol_;
  mutable std::mutex formatLock_;
  FrameFormat publishedFormat_;  ///< guarded by formatLock_: never half of a change
  const std::shared_ptr<FramePool> framePool_;
  const std::shared_ptr<FrameQueue> queue_;
  DarkFrame dark_;
  HotPixels hotPixels_;
  FrameDelivery delivery_;
  CaptureSession capture_;
};

}  // namespace orvik
