// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <vector>

#include "imaging/region.h"
#include "integrations/server/camera/status.h"
#include "orvik/orvik.hpp"

namespace orvik::server {

/// The settings of the live view: those of the camera, except while a capture with settings of its
/// own has it. What is set meanwhile is kept for afterwards. Any thread; controls() and format()
/// return at once, the other functions may wait for requests to the camera.
class PageSettings {
 public:
  /// Takes over the camera's settings, but nothing that would change images without being seen:
  /// automatic modes off, no flip, no gamma, the model's white balance, no dark frame, the whole
  /// sensor.
  explicit PageSettings(Camera& camera);

  /// @throws FailureException (kBadValue) beyond the control's limits, or Error
  void setControl(Orvik_CONTROL_TYPE type, ControlValue value);
  /// @throws FailureException (kBadValue) if the camera has no such format, (kBusy) while a capture
  ///         needs the present one, or Error
  void setFormat(const imaging::Region& region, int bin, IMG_TYPE type);

  /// A capture begins.
  void lend(bool hasOwnSettings);
  /// It has ended.
  void takeBack();
  /// Sets everything on the camera. On the capture thread.
  void apply();
  /// Reads what the camera changes by itself: automatic controls and those that can only be read.
  void refresh();

  [[nodiscard]] std::vector<ControlState> controls() const;
  [[nodiscard]] ImageFormat format() const;

 private:
  enum class Borrower { kNobody, kPageCapture, kOwnSettings };

  /// Sets a control, or a format, on the camera, and returns what it has made of it.
  ControlState written(const ControlState& wanted);
  ImageFormat written(const ImageFormat& wanted);
  void store(const ControlState& control);
  void store(const ImageFormat& format);

  Camera& camera_;
  std::mutex requests_;  // held during requests to the camera
  Borrower borrower_ = Borrower::kNobody;
  mutable std::mutex mutex_;  // never held during requests; for what follows
  std::vector<ControlState> controls_;
  ImageFormat format_;
};

}  // namespace orvik::server
