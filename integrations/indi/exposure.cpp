// SPDX-License-Identifier: MIT
// Single exposures, and what may not happen while an image is being sent.
#include <cmath>
#include <cstring>

#include "camera_device.h"
#include "event_thread.h"

namespace orvik::indi {

bool CameraDevice::StartExposure(float seconds) {
  if (!isEventThread()) {  // the next one of a fast series: INDI starts it on a thread of its own
    onEventThread([this, seconds] {
      if (!StartExposure(seconds)) PrimaryCCD.setExposureFailed();
    });
    return true;
  }
  if (link_ != Link::kOpen) return false;
  if (isStreaming_ || Streamer->isBusy()) {
    LOG_ERROR("No exposure is possible while video is streamed or recorded.");
    return false;
  }
  const std::chrono::microseconds exposure(std::llround(double{seconds} * 1e6));
  LOGF_DEBUG("Exposure of %.6f s, %d x %d pixels, bin %d", double{seconds}, format_.width,
             format_.height, format_.bin);
  PrimaryCCD.setExposureDuration(seconds);
  isExposing_ = true;
  exposureEnd_ = Clock::now() + exposure;
  exposureStop_ =
      captures_.post([this, number = ++exposure_, exposure, format = format_](
                         const std::stop_token& stop) { expose(number, exposure, format, stop); });
  return true;
}

bool CameraDevice::AbortExposure() {
  exposureStop_.request_stop();
  ++exposure_;
  isExposing_ = false;
  return true;
}

void CameraDevice::expose(int number, std::chrono::microseconds exposure, const ImageFormat& format,
                          const std::stop_token& stop) {
  if (stop.stop_requested()) return;
  try {
    applyFormat(format);
    camera_.set(control::kExposure, exposure);
    Snapshot snapshot(camera_);
    if (!snapshot.wait(stop)) return;
    const std::shared_ptr<Image> image = unusedImage();
    snapshot.fetch(image->frame);
    if (format.type == Orvik_IMG_RGB24) {
      splitPlanes(image->frame.bytes(), image->planes);
    } else {
      image->planes.clear();
    }
    onEventThread([this, number, image] { exposed(number, image); });
  } catch (const Error& error) {
    fail(error, [this, number] {
      if (number == exposure_ && std::exchange(isExposing_, false)) PrimaryCCD.setExposureFailed();
    });
  }
}

std::shared_ptr<CameraDevice::Image> CameraDevice::unusedImage() {
  for (auto& image : images_) {
    if (image == nullptr) image = std::make_shared<Image>();
    if (image.use_count() == 1) return image;
  }
  return std::make_shared<Image>();
}

void CameraDevice::exposed(int number, const std::shared_ptr<Image>& image) {
  if (number != exposure_ || !isExposing_) return;
  if (isUploading_) {  // that of a fast series that was taken before this one
    postponed_.emplace_back([this, number, image] { exposed(number, image); });
    return;
  }
  isExposing_ = false;
  isUploading_ = true;
  const FrameInfo& info = image->frame.info();
  showFormat({info.width, info.height, info.bin, info.type, info.startX / info.bin,
              info.startY / info.bin});
  if (const auto mosaic = imageMosaic(opened_.info, info)) showMosaic(*mosaic);
  {
    // The image before may still be on its way to a client.
    const std::unique_lock<std::mutex> lock(ccdBufferLock);
    image_ = image;
    const auto bytes = image_->bytes();
    PrimaryCCD.setFrameBufferSize(static_cast<std::uint32_t>(bytes.size()), false);
    PrimaryCCD.setFrameBuffer(bytes.data());
    PrimaryCCD.setNAxis(image_->planes.empty() ? 2 : 3);
    PrimaryCCD.setBPP(captureType(info.type).bits);
  }
  PrimaryCCD.setImageExtension(EncodeFormatSP[FORMAT_FITS].getState() == ISS_ON ? "fits" : "raw");
  ExposureComplete(&PrimaryCCD);
}

void CameraDevice::UploadComplete(INDI::CCDChip*) {
  onEventThread([this] { uploaded(); });
}

void CameraDevice::uploaded() {
  if (!isUploading_.exchange(false)) return;
  const auto requests = std::exchange(postponed_, {});
  for (const auto& request : requests) request();
}

bool CameraDevice::mustWait(const char* property) const {
  static constexpr std::array kNames{"CCD_EXPOSURE",     "CCD_FRAME",          "CCD_BINNING",
                                     "CCD_FRAME_TYPE",   "CCD_FRAME_RESET",    "CCD_CAPTURE_FORMAT",
                                     "CCD_VIDEO_STREAM", "RECORD_STREAM",      "CONNECTION",
                                     "CCD_COMPRESSION",  "CCD_TRANSFER_FORMAT"};
  const bool concernsImage = std::any_of(kNames.begin(), kNames.end(), [&](const char* name) {
    return std::strcmp(name, property) == 0;
  });
  return isUploading_ && concernsImage;
}

}  // namespace orvik::indi
