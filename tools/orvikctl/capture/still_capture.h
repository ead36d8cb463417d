// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>

#include "imaging/image.h"
#include "imaging/view/image_source.h"
#include "tools/orvikctl/capture/brightness.h"
#include "tools/orvikctl/capture/capture_camera.h"
#include "tools/orvikctl/progress.h"

namespace orvik::ctl {

/// How single images are taken.
struct StillSettings {
  bool waitsForCamera = false;  ///< whether to wait for a camera that is unplugged
  std::optional<std::chrono::microseconds> interval;  ///< between the starts of images
  bool quiet = false;
};

/// Takes single images, one after the other, with the camera as it is set up. An exposure that
/// fails is taken again, up to three times. Images are measured.
class StillCapture {
 public:
  /// @param camera, stop exist as long as this object
  StillCapture(CaptureCamera& camera, const StillSettings& settings, std::stop_token stop);

  /// Describes the images to come, after the camera was set up for them.
  ///
  /// @param options live until the next call, or as long as this object
  void describe(const CaptureOptions& options);
  /// Sets the camera up for images of another kind, and describes them.
  ///
  /// @return false when a stop was requested while the camera was unplugged
  /// @throws Failure, Error as take()
  bool begin(const CaptureOptions& options);

  /// Sets the exposure of the images to come, until the next describe().
  void setExposure(std::chrono::microseconds exposure);

  /// Takes an image at once that is not counted among the others: neither its time nor its
  /// brightness. The rest as take().
  bool takeTrial(const std::function<std::string(double)>& progress);

  /// Takes the next image: waits for its time, exposes and fetches it.
  ///
  /// @param progress makes the text of the progress line from the seconds that are left of this
  ///        image
  /// @return false when a stop was requested
  /// @throws Failure (kCameraFailed) if the camera is unplugged and not waited for; Error, Failure
  ///         if it fails
  bool take(const std::function<std::string(double)>& progress);

  /// Wipes the progress line, so that other text can be written.
  void clearProgress() { line_.wipe(); }

  /// The image that was taken last, valid until the next one is.
  [[nodiscard]] imaging::Image image() const { return {info_, frame_.bytes()}; }
  /// Its header; before the first image that of the images to come.
  [[nodiscard]] const imaging::ImageInfo& info() const { return info_; }
  /// Its pixels, valid until the next one is taken.
  [[nodiscard]] imaging::ImageSource source() const;
  /// The brightness of all images since describe().
  [[nodiscard]] const std::optional<SeriesBrightness>& brightness() const {
    return meter_.result();
  }

 private:
  using Clock = std::chrono::steady_clock;
  using ProgressText = std::function<std::string(double)>;

  void describeAgain();
  bool waitForCamera();
  bool waitForStart(const ProgressText& progress);
  bool expose(const ProgressText& progress);
  bool recover(const std::exception_ptr& fault, int failures);

  CaptureCamera& camera_;
  StillSettings settings_;
  std::stop_token stop_;
  const CaptureOptions* options_ = nullptr;
  std::optional<std::chrono::microseconds> exposure_;
  imaging::ImageInfo info_;
  Frame frame_;
  BrightnessMeter meter_;
  ProgressLine line_;
  std::optional<Clock::time_point> nextStart_;
  Clock::time_point lookedForCamera_;
};

}  // namespace orvik::ctl
