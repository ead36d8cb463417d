// SPDX-License-Identifier: MIT
// Region, bin and pixel layout: INDI's terms and the camera's.
#include "camera_device.h"
#include "event_thread.h"

namespace orvik::indi {

void CameraDevice::setUpChip() {
  const Orvik_CAMERA_INFO& info = opened_.info;
  std::uint32_t abilities =
      CCD_CAN_ABORT | CCD_CAN_BIN | CCD_CAN_SUBFRAME | CCD_HAS_ST4_PORT | CCD_HAS_STREAMING;
  if (info.hasCooler == Orvik_TRUE) abilities |= CCD_HAS_COOLER;
  if (info.colour == Orvik_TRUE) abilities |= CCD_HAS_BAYER;
  SetCCDCapability(abilities);
  TemperatureNP.p = info.hasCooler == Orvik_TRUE ? IP_RW : IP_RO;

  std::vector<int> bins;
  for (const int bin : info.bins) {
    if (bin == 0) break;
    bins.push_back(bin);
  }
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
  IUSaveText(&cameraTexts_[0], info.name);
  IUSaveText(&cameraTexts_[1], device_.serial.c_str());
  IUSaveText(&cameraTexts_[2], device_.port.c_str());
  IUSaveText(&cameraTexts_[3], opened_.firmware.c_str());

  if (!types_.empty()) return;  // it was connected before: the client's choices stay
  for (const IMG_TYPE type : info.imageTypes) {
    if (type == Orvik_IMG_END) break;
    const CaptureType& offered = captureType(type);
    types_.push_back(type);
    addCaptureFormat({offered.name, offered.label, offered.bits, type == Orvik_IMG_RAW16, true});
  }
  const auto pixel = static_cast<float>(info.pixelSizeUm);
  wish_ = {0, 0, info.maxWidth, info.maxHeight};
  SetCCDParams(info.maxWidth, info.maxHeight, captureType(imageType()).bits, pixel, pixel);
  showFormat(*formatWithin(wish_, 1, imageType(), info));
  showMosaic(info.bayer);
}

IMG_TYPE CameraDevice::imageType() const {
  const int chosen = CaptureFormatSP.findOnSwitchIndex();
  return types_[static_cast<std::size_t>(std::max(chosen, 0))];
}

bool CameraDevice::mayChangeImages() {
  if (link_ != Link::kOpen) return false;
  if (isExposing_) {
    LOG_ERROR("Not possible during an exposure: abort it, or wait for its end.");
  } else if (Streamer->isRecording()) {
    LOG_ERROR("Not possible while video is recorded.");
  }
  return !isExposing_ && !Streamer->isRecording();
}

bool CameraDevice::changeFormat(const Region& region, int bin, IMG_TYPE type) {
  if (!mayChangeImages()) return false;
  const auto format = formatWithin(region, bin, type, opened_.info);
  if (!format) {
    LOGF_ERROR("The region is too small for bin %d: an image has at least 4 x 2 pixels.", bin);
    return false;
  }
  wish_ = region;
  PrimaryCCD.setBin(static_cast<std::uint8_t>(bin), static_cast<std::uint8_t>(bin));
  showFormat(*format);
  ++stream_;  // a stream ends here, and goes on with the new format
  streamStop_.request_stop();
  captures_.post([this, wanted = *format](const std::stop_token&) {
    try {
      applyFormat(wanted);
      onEventThread([this, now = camera_.format(), wanted] {
        if (link_ != Link::kOpen || isExposing_ || format_ != wanted) return;
        showFormat(now);
        if (isStreaming_) startStream();
      });
    } catch (const Error& error) {
      fail(error);
    }
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
  const Region region = regionOf(format);
  const Region shown{PrimaryCCD.getSubX(), PrimaryCCD.getSubY(), PrimaryCCD.getSubW(),
                     PrimaryCCD.getSubH()};
  if (region != shown) setFrame(region);
  PrimaryCCD.setNAxis(format.type == Orvik_IMG_RGB24 ? 3 : 2);
  PrimaryCCD.setBPP(captureType(format.type).bits);
  if (!isStreaming_) setStreamFormat();
}

void CameraDevice::setFrame(const Region& region) {
  const auto pixels = [](int value) { return static_cast<std::uint32_t>(value); };
  PrimaryCCD.setFrame(pixels(region.x), pixels(region.y), pixels(region.width),
                      pixels(region.height));
}

void CameraDevice::showMosaic(BayerPattern pattern) {
  const char* const name = mosaicName(pattern);
  if (BayerT[2].text != nullptr && std::string_view(name) == BayerT[2].text) return;
  IUSaveText(&BayerT[0], "0");
  IUSaveText(&BayerT[1], "0");
  IUSaveText(&BayerT[2], name);
  if (isConnected() && HasBayer()) IDSetText(&BayerTP, nullptr);
}

bool CameraDevice::UpdateCCDFrame(int x, int y, int width, int height) {
  return changeFormat({x, y, width, height}, PrimaryCCD.getBinX(), imageType());
}

bool CameraDevice::UpdateCCDBin(int horizontal, int vertical) {
  if (link_ != Link::kOpen) return false;
  const auto& bins = opened_.info.bins;
  if (horizontal != vertical ||
      std::find(std::begin(bins), std::end(bins), horizontal) == std::end(bins)) {
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
