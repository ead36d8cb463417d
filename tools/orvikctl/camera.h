// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "orvik/orvik_service.h"
#include "tools/orvikctl/camera_choice.h"

namespace orvik::ctl {

/// A value of a control and whether the control is on automatic.
struct ControlValue {
  std::int32_t value = 0;
  bool isAuto = false;
};

/// Size, bin and type of the delivered image, and where its region lies on the sensor.
struct ImageFormat {
  int width = 0;   ///< pixels after binning
  int height = 0;  ///< pixels after binning
  int bin = 1;
  IMG_TYPE type = Orvik_IMG_RAW8;
  int startX = 0;  ///< pixels after binning
  int startY = 0;  ///< pixels after binning
};

/// An open camera. The destructor ends whatever it is doing and closes it.
///
/// Every method throws a Failure when the library refuses, unless it says otherwise. readFrame()
/// may run on a thread of its own beside the other methods.
class Camera {
 public:
  /// Opens a camera at its port, so that it is the one that was listed.
  explicit Camera(const ConnectedCamera& connected);
  ~Camera();
  Camera(const Camera&) = delete;
  Camera& operator=(const Camera&) = delete;

  /// For the library's functions that this class has no method for.
  [[nodiscard]] int handle() const { return handle_; }

  [[nodiscard]] Orvik_CAMERA_INFO info() const;

  /// The controls that the camera offers, in its own order.
  [[nodiscard]] const std::vector<Orvik_CONTROL_CAPS>& controls() const { return controls_; }
  /// The record of one of them, or null if the camera does not offer it.
  [[nodiscard]] const Orvik_CONTROL_CAPS* control(Orvik_CONTROL_TYPE type) const;

  [[nodiscard]] ControlValue value(Orvik_CONTROL_TYPE type) const;
  /// The value of an offered control; nothing if it is not offered or cannot be read.
  [[nodiscard]] std::optional<ControlValue> valueIfAny(Orvik_CONTROL_TYPE type) const;
  void setValue(Orvik_CONTROL_TYPE type, ControlValue value);

  /// The state of the cooler, of a camera that has one.
  [[nodiscard]] Orvik_COOLER_STATUS coolerStatus() const;

  [[nodiscard]] ImageFormat format() const;
  /// Sets size, bin and type. The region is centred; the format's start is not used.
  void setFormat(const ImageFormat& format);
  void setStart(int x, int y);

  void startVideo();
  /// Ends video; does nothing while there is none.
  void stopVideo();
  /// Waits for the next frame of the video.
  ///
  /// @return false if none came in `waitMs`
  /// @throws Failure if none will come: the camera was unplugged, or video has ended
  bool readFrame(std::span<std::uint8_t> buffer, int waitMs);
  /// What is known of the image that was read or fetched last.
  [[nodiscard]] Orvik_FRAME_INFO frameInfo() const;
  /// Frames that the running video has lost.
  [[nodiscard]] int droppedFrames() const;

  void startExposure();
  [[nodiscard]] Orvik_EXPOSURE_STATUS exposureStatus() const;
  /// Fetches the image of a snapshot that is ready.
  void fetchExposure(std::span<std::uint8_t> buffer);

 private:
  void readControls();
  /// Throws a Failure that names the camera, unless `code` is #Orvik_OK.
  void expect(Orvik_ERROR_CODE code, const std::string& doing) const;

  const std::string label_;
  int handle_ = 0;
  bool videoRuns_ = false;
  bool exposing_ = false;
  std::vector<Orvik_CONTROL_CAPS> controls_;
};

}  // namespace orvik::ctl
