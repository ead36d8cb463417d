// SPDX-License-Identifier: MIT
// Video for INDI's stream manager, which sends and records it on threads of its own.
#include <cmath>

#include "camera_device.h"
#include "event_thread.h"
#include "imaging/colour_order.h"
#include "imaging/mosaic.h"

namespace orvik::indi {
namespace {

INDI_PIXEL_FORMAT pixelFormat(const Orvik_CAMERA_INFO& camera, IMG_TYPE type, BayerPattern mosaic) {
  if (type == Orvik_IMG_RGB24) return INDI_RGB;
  if (type == Orvik_IMG_Y8 || camera.colour != Orvik_TRUE) return INDI_MONO;
  // INDI has taken over the numbers of the recordings.
  static_assert(INDI_BAYER_GRBG == imaging::mosaic(BAYER_GR).serColourId);
  return static_cast<INDI_PIXEL_FORMAT>(imaging::mosaic(mosaic).serColourId);
}

}  // namespace

void CameraDevice::setStreamFormat() {
  const auto mosaic = imageMosaic(opened_.info.bayer, opened_.values[Orvik_CTL_FLIP].value,
                                  format_.bin, format_.startX * format_.bin,
                                  format_.startY * format_.bin, format_.width, format_.height);
  Streamer->setPixelFormat(pixelFormat(opened_.info, format_.type, mosaic),
                           static_cast<std::uint8_t>(PrimaryCCD.getBPP()));
  Streamer->setSize(static_cast<std::uint16_t>(format_.width),
                    static_cast<std::uint16_t>(format_.height));
}

void CameraDevice::setStreamExposure(Worker& worker) {
  const std::chrono::microseconds exposure(std::llround(Streamer->getTargetExposure() * 1e6));
  post(worker, [this, exposure](const auto&) {
    if (!camera_.read(Orvik_CTL_EXPOSURE).isAuto) camera_.set(control::kExposure, exposure);
  });
}

bool CameraDevice::StartStreaming() {
  if (link_ != Link::kOpen) return false;
  if (isExposing_ || isUploading_) {
    LOG_ERROR("No video is possible during an exposure.");
    return false;
  }
  isStreaming_ = true;
  startStream();
  return true;
}

void CameraDevice::startStream() {
  setStreamFormat();
  stream_.request_stop();
  setStreamExposure(captures_);
  stream_ = post(
      captures_,
      [this, format = format_](const std::stop_token& stop) {
        applyFormat(format);
        Frame frame;
        Video video(camera_, stop);
        while (video.next(frame) && isStreaming_ && !stop.stop_requested()) {
          if (format.type == Orvik_IMG_RGB24) imaging::swapBlueAndRed(frame.bytes());
          Streamer->newFrame(frame.bytes().data(),
                             static_cast<std::uint32_t>(frame.bytes().size()));
        }
      },
      [this] { endStream(); });
}

bool CameraDevice::StopStreaming() {
  // INDI also calls this on its own threads, at the end of a recording.
  isStreaming_ = false;
  onEventThread([this] {
    if (!isStreaming_) stream_.request_stop();
  });
  return true;
}

void CameraDevice::endStream() {
  if (Streamer->isRecording()) {
    ISState state = ISS_ON;
    std::string off = "RECORD_OFF";
    char* names[] = {off.data()};
    Streamer->ISNewSwitch(getDeviceName(), "RECORD_STREAM", &state, names, 1);
    // INDI closes the file with the next frame, and there will be none.
    captures_.post([this](const auto&) { Streamer->newFrame(nullptr, 0); });
  }
  if (Streamer->isStreaming()) Streamer->setStream(false);
}

}  // namespace orvik::indi
