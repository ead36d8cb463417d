// SPDX-License-Identifier: MIT
// Single exposures: their images, what the FITS header says of them beyond INDI's base class, and
// what may not happen while an image is being sent.
#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <string_view>
#include <utility>

#include "camera_device.h"
#include "event_thread.h"
#include "imaging/colour_order.h"
#include "imaging/time_text.h"

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
  exposure_.request_stop();
  exposure_ = post(
      captures_,
      [this, exposure, format = format_](const std::stop_token& stop) {
        applyFormat(format);
        camera_.set(control::kExposure, exposure);
        Snapshot snapshot(camera_);
        if (!snapshot.wait(stop)) return;
        const auto taken = std::make_shared<TakenImage>();
        Frame* const image = &taken->frame;
        snapshot.fetch(*image);
        taken->processing = imaging::processingOf(camera_, format.type);
        if (format.type == Orvik_IMG_RGB24) {
          std::ranges::copy(imaging::planesOf(image->bytes()), image->bytes().begin());
        }
        onEventThread([this, taken, stop] { exposed(taken, stop); });
      },
      [this] {
        isExposing_ = false;
        PrimaryCCD.setExposureFailed();
      });
  return true;
}

bool CameraDevice::AbortExposure() {
  exposure_.request_stop();
  isExposing_ = false;
  return true;
}

void CameraDevice::exposed(const std::shared_ptr<TakenImage>& image, const std::stop_token& stop) {
  if (stop.stop_requested()) return;
  if (isUploading_) {  // that of a fast series that was taken before this one
    postponed_.emplace_back([this, image, stop] { exposed(image, stop); });
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
    const auto bytes = image_->frame.bytes();
    PrimaryCCD.setFrameBufferSize(static_cast<std::uint32_t>(bytes.size()), false);
    PrimaryCCD.setFrameBuffer(bytes.data());
  }
  PrimaryCCD.setImageExtension(EncodeFormatSP[FORMAT_FITS].getState() == ISS_ON ? "fits" : "raw");
  ExposureComplete(&PrimaryCCD);
}

void CameraDevice::addFITSKeywords(INDI::CCDChip* chip) {
  INDI::CCD::addFITSKeywords(chip);
  fitsfile* const file = *chip->fitsFilePointer();
  const FrameInfo& info = image_->frame.info();
  const imaging::Processing& done = image_->processing;
  const std::string start = imaging::utcText(info.start(), 6);
  const std::string software = std::string("Orvik ") + OrvikGetVersion() + " INDI";
  const double seconds = std::chrono::duration<double>(info.exposure()).count();
  int status = 0;
  fits_update_key_str(file, "INSTRUME", opened_.info.name, "Model of the camera", &status);
  fits_update_key_str(file, "ROWORDER", "TOP-DOWN", "Order of the rows", &status);
  fits_update_key_str(file, "DATE-OBS", start.c_str(), "UTC, start of the exposure", &status);
  fits_update_key_fixdbl(file, "EXPTIME", seconds, 6, "Exposure time, s", &status);
  fits_update_key_lng(file, "GAIN", info.gain, "Gain, steps of the sensor", &status);
  fits_update_key_lng(file, "OFFSET", info.blackLevel, "Black level, steps of the sensor", &status);
  const std::array<std::pair<const char*, std::optional<int>>, 4> processing = {
      {{"GAMMA", done.gamma},
       {"WB_RED", done.whiteBalanceRed},
       {"WB_BLUE", done.whiteBalanceBlue},
       {"HOTPIX", done.hotPixelsMended}}};
  for (const auto& [name, value] : processing) {
    if (value) fits_update_key_lng(file, name, *value, nullptr, &status);
  }
  fits_update_key_str(file, "SWCREATE", software.c_str(), "Software", &status);
  if (const auto celsius = info.celsius()) {
    fits_update_key_fixdbl(file, "CCD-TEMP", *celsius, 1, "Sensor, degrees C", &status);
  }
  if (HasCooler() && coolerSwitch_[0].getState() == ISS_ON) {
    fits_update_key_fixdbl(file, "SET-TEMP", m_TargetTemperature, 1, "Target, degrees C", &status);
  }
  if (imageMosaic(opened_.info, info)) return;
  for (const char* key : {"XBAYROFF", "YBAYROFF", "BAYERPAT"}) {
    status = 0;
    fits_delete_key(file, key, &status);
  }
}

void CameraDevice::UploadComplete(INDI::CCDChip*) {
  onEventThread([this] { uploaded(); });
}

void CameraDevice::uploaded() {
  if (!isUploading_.exchange(false)) return;
  for (const auto& request : std::exchange(postponed_, {})) request();
}

bool CameraDevice::mustWait(const char* property) const {
  static constexpr std::array<std::string_view, 11> kNames{
      "CCD_EXPOSURE",     "CCD_FRAME",     "CCD_BINNING",        "CCD_FRAME_TYPE",
      "CCD_FRAME_RESET",  "RECORD_STREAM", "CCD_COMPRESSION",    "CCD_CAPTURE_FORMAT",
      "CCD_VIDEO_STREAM", "CONNECTION",    "CCD_TRANSFER_FORMAT"};
  return isUploading_ && std::find(kNames.begin(), kNames.end(), property) != kNames.end();
}

}  // namespace orvik::indi
