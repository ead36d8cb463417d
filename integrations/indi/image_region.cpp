// SPDX-License-Identifier: MIT
// Region, bin and pixel layout: INDI's terms and the camera's.
#include <algorithm>

#include "camera_device.h"
#include "event_thread.h"
#include "imaging/mosaic.h"

namespace orvik::indi {
namespace {

/// A pixel layout as INDI shows it.
INDI::CCD::CaptureFormat captureFormat(IMG_TYPE type) {
  switch (type) {
    case Orvik_IMG_RAW16:
      return {"INDI_RAW16", "RAW 16", 16, true};
    case Orvik_IMG_RGB24:
      return {"INDI_RGB", "RGB 24", 8};
    case Orvik_IMG_Y8:
      return {"INDI_MONO", "Luminance 8", 8};
    case Orvik_IMG_RAW8:
    case Orvik_IMG_END:
      break;
  }
  return {"INDI_RAW8", "RAW 8", 8};
}

}  // namespace

void CameraDevice::setUpChip() {
  const Orvik_CAMERA_INFO& info = opened_.info;
  const std::vector<int> bins = binsOf(info);
  const int maxBin = *std::max_element(bins.begin(), bins.end());
  PrimaryCCD.setMinMaxStep("CCD_BINNING", "HOR_BIN", 1, maxBin, 1, false);
  PrimaryCCD.setMinMaxStep("CCD_BINNING", "VER_BIN", 1, maxBin, 1, false);
  for (const Control& control : opened_.controls) {
    if (control.type() == Orvik_CTL_EXPOSURE) {
      PrimaryCCD.setMinMaxStep("CCD_EXPOSURE", "CCD_EXPOSURE_VALUE", control.min() / 1e6,
                               control.max() / 1e6, 1e-6, false);
    } else if (control.type() == Orvik_CTL_TARGET_TEMP) {
      TemperatureN[0].min = control.min();
      TemperatureN[0].max = control.max();
    }
  }
  if (!types_.empty()) return;  // it was connected before: the client's choices stay
  types_ = imageTypesOf(info);
  for (const IMG_TYPE type : types_) addCaptureFormat(captureFormat(type));
  const auto pixel = static_cast<float>(info.pixelSizeUm);
  wish_ = {0, 0, info.maxWidth, info.maxHeight};
  SetCCDParams(info.maxWidth, info.maxHeight, captureFormat(imageType()).bitsPerPixel, pixel,
               pixel);
  showFormat(*imaging::formatWithin(wish_, 1, imageType(), info));
  showMosaic(info.bayer);
}

IMG_TYPE CameraDevice::imageType() const {
  const int chosen = CaptureFormatSP.findOnSwitchIndex();
  return types_[static_cast<std::size_t>(std::max(chosen, 0))];
}

bool CameraDevice::mayChangeImages() {
  if (link_ != Link::kOpen) return false;
  const bool isBusy = isExposing_ || Streamer->isRecording();
  if (isBusy) LOG_ERROR("Not possible during an exposure or a recording: end it, or wait.");
  return !isBusy;
}

bool CameraDevice::changeFormat(const Region& region, int bin, IMG_TYPE type) {
  if (!mayChangeImages()) return false;
  const auto format = imaging::formatWithin(region, bin, type, opened_.info);
  if (!format) {
    LOGF_ERROR("The region is too small for bin %d: an image has at least 4 x 2 pixels.", bin);
    return false;
  }
  wish_ = region;
  PrimaryCCD.setBin(static_cast<std::uint8_t>(bin), static_cast<std::uint8_t>(bin));
  showFormat(*format);
  stream_.request_stop();  // a stream goes on with the new format
  post(captures_, [this, wanted = *format](const auto&) {
    applyFormat(wanted);
    onEventThread([this, now = camera_.format(), wanted] {
      if (link_ != Link::kOpen || isExposing_ || format_ != wanted) return;
      showFormat(now);
      if (isStreaming_) startStream();
    });
  });
  return true;
}

void CameraDevice::applyFormat(const ImageFormat& format) {
  if (camera_.format() == format) return;
  camera_.setFormat(format);
  camera_.setStart(format.startX, format.startY);
}

void CameraDevice::showFormat(const ImageFormat& format) {
  format_ = format;
  const Region shown{PrimaryCCD.getSubX(), PrimaryCCD.getSubY(), PrimaryCCD.getSubW(),
                     PrimaryCCD.getSubH()};
  if (shown != imaging::regionOf(format)) showRegion();
  PrimaryCCD.setNAxis(format.type == Orvik_IMG_RGB24 ? 3 : 2);
  PrimaryCCD.setBPP(captureFormat(format.type).bitsPerPixel);
  if (!isStreaming_) setStreamFormat();
}

void CameraDevice::showRegion() {
  const Region region = imaging::regionOf(format_);
  const auto pixels = [](int value) { return static_cast<std::uint32_t>(value); };
  PrimaryCCD.setFrame(pixels(region.x), pixels(region.y), pixels(region.width),
                      pixels(region.height));
}

void CameraDevice::showMosaic(BayerPattern pattern) {
  const std::string name(imaging::mosaic(pattern).name);
  if (BayerT[2].text != nullptr && name == BayerT[2].text) return;
  IUSaveText(&BayerT[0], "0");
  IUSaveText(&BayerT[1], "0");
  IUSaveText(&BayerT[2], name.c_str());
  if (isConnected() && HasBayer()) IDSetText(&BayerTP, nullptr);
}

bool CameraDevice::UpdateCCDFrame(int x, int y, int width, int height) {
  return changeFormat({x, y, width, height}, PrimaryCCD.getBinX(), imageType());
}

bool CameraDevice::UpdateCCDBin(int horizontal, int vertical) {
  const std::vector<int> bins = binsOf(opened_.info);
  if (horizontal != vertical || std::find(bins.begin(), bins.end(), horizontal) == bins.end()) {
    LOGF_ERROR("The camera has no binning of %d x %d.", horizontal, vertical);
    return false;
  }
  return changeFormat(wish_, horizontal, imageType());
}

bool CameraDevice::UpdateCCDFrameType(INDI::CCDChip::CCD_FRAME type) {
  if (!mayChangeImages()) return false;
  PrimaryCCD.setFrameType(type);
  return true;
}

bool CameraDevice::SetCaptureFormat(std::uint8_t index) {
  return index < types_.size() && changeFormat(wish_, PrimaryCCD.getBinX(), types_[index]);
}

}  // namespace orvik::indi
