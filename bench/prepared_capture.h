// SPDX-License-Identifier: MIT
/// The prepared host in place of the USB bus, and its cameras capturing video.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "bench/image_kinds.h"
#include "bench/prepared_host.h"
#include "orvik/orvik.h"
#include "orvik/orvik_settings.h"
#include "seam/install.h"
#include "sim/picture/marks.h"

namespace orvik::bench {

constexpr std::chrono::milliseconds kTimeout{5000};
/// Long, so that the library waits for more than a second before it gives a transfer up. On a busy
/// machine the prepared ones come late.
constexpr int kExposureUs = 500'000;

/// A frame with its marks, ready to be sent.
inline std::vector<std::uint8_t> preparedFrame(const ImageKind& kind) {
  std::vector<std::uint8_t> frame(kind.frameBytes(), 100);
  sim::stampMarks(sim::Marks::kFourWords, frame, 1);
  return frame;
}

/// Cameras that capture video while the object exists.
class PreparedCapture {
 public:
  explicit PreparedCapture(const ImageKind& kind, int cameras = 1)
      : cameras_(cameras), host_(std::make_shared<PreparedHost>("T15C", cameras)) {
    orvik_private_install_host(host_);
    isRunning_ = OrvikGetNumOfConnectedCameras() == cameras;
    for (int n = 0; n < cameras; ++n) {
      isRunning_ =
          isRunning_ && OrvikOpenCamera(n) == Orvik_OK && OrvikResetSettings(n) == Orvik_OK &&
          OrvikSetROIFormat(n, kWidth, kHeight, 1, kind.type) == Orvik_OK &&
          OrvikSetControlValue(n, Orvik_CTL_EXPOSURE, kExposureUs, Orvik_FALSE) == Orvik_OK &&
          OrvikStartVideoCapture(n) == Orvik_OK;
    }
  }
  ~PreparedCapture() {
    for (int n = 0; n < cameras_; ++n) OrvikCloseCamera(n);
    orvik_private_install_host(nullptr);
  }
  PreparedCapture(const PreparedCapture&) = delete;
  PreparedCapture& operator=(const PreparedCapture&) = delete;

  [[nodiscard]] bool isRunning() const { return isRunning_; }
  [[nodiscard]] ReadFeed& feed(std::size_t camera = 0) { return host_->feed(camera); }

  /// Takes the next image of a camera.
  static bool take(int camera, std::vector<std::uint8_t>& image) {
    return OrvikGetVideoData(camera, image.data(), static_cast<std::int32_t>(image.size()),
                             static_cast<int>(kTimeout.count())) == Orvik_OK;
  }

 private:
  int cameras_;
  std::shared_ptr<PreparedHost> host_;
  bool isRunning_ = false;
};

/// Frames that the first cameras have lost since their captures began.
inline int lostFrames(int cameras) {
  int all = 0;
  for (int n = 0; n < cameras; ++n) {
    int frames = 0;
    OrvikGetDroppedFrames(n, &frames);
    all += frames;
  }
  return all;
}

}  // namespace orvik::bench
