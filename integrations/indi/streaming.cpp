// SPDX-License-Identifier: MIT
// Video for INDI's stream manager, which sends and records it on threads of its own.
#include "camera_device.h"
#include "event_thread.h"

namespace orvik::indi {
namespace {

INDI_PIXEL_FORMAT pixelFormat(const Orvik_CAMERA_INFO& camera, const ImageFormat& format,
                              BayerPattern mosaic) {
  if (format.type == Orvik_IMG_RGB24) return INDI_RGB;
  if (format.type == Orvik_IMG_Y8 || camera.colour != Orvik_TRUE) return INDI_MONO;
  switch (mosaic) {
    case BAYER_RG:
      return INDI_BAYER_RGGB;
    case BAYER_BG:
      return INDI_BAYER_BGGR;
    case BAYER_GR:
      return INDI_BAYER_GRBG;
    case BAYER_GB:
      return INDI_BAYER_GBRG;
  }
  return INDI_MONO;
}

}  // namespace

void CameraDevice::setStreamFormat() {
  const ImageFormat& format = format_;
  const auto flip = opened_.values.find(Orvik_CTL_FLIP);
  const auto mosaic = imageMosaic(
      opened_.info.bayer, flip == opened_.values.end() ? 0 : flip->second.value, format.bin,
      format.startX * format.bin, format.startY * format.bin, format.width, format.height);
  Streamer->setPixelFormat(pixelFormat(opened_.info, format, mosaic),
                           captureType(format.type).bits);
  Streamer->setSize(static_cast<std::uint16_t>(format.width),
                    static_cast<std::uint16_t>(format.height));
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
  const std::chrono::microseconds exposure(std::llround(Streamer->getTargetExposure() * 1e6));
  streamStop_ =
      captures_.post([this, number = ++stream_, exposure, format = format_](
                         const std::stop_token& stop) { stream(number, exposure, format, stop); });
}

bool CameraDevice::StopStreaming() {
  // INDI also calls this on its own threads, at the end of a recording.
  isStreaming_ = false;
  ++stream_;
  streamStop_.request_stop();
  return true;
}

void CameraDevice::stream(int number, std::chrono::microseconds exposure, const ImageFormat& format,
                          const std::stop_token& stop) {
  if (stop.stop_requested()) return;
  try {
    applyFormat(format);
    if (!camera_.read(Orvik_CTL_EXPOSURE).isAuto) camera_.set(control::kExposure, exposure);
    Frame frame;
    Video video(camera_, stop);
    while (video.next(frame) && number == stream_) {
      if (format.type == Orvik_IMG_RGB24) swapBlueAndRed(frame.bytes());
      Streamer->newFrame(frame.bytes().data(), static_cast<std::uint32_t>(frame.bytes().size()));
    }
  } catch (const Error& error) {
    fail(error, [this, number] {
      if (number == stream_) endStream();
    });
  }
}

void CameraDevice::endStream() {
  if (Streamer->isRecording()) {
    ISState state = ISS_ON;
    std::string off = "RECORD_OFF";
    char* names[] = {off.data()};
    Streamer->ISNewSwitch(getDeviceName(), "RECORD_STREAM", &state, names, 1);
    // INDI closes the file with the next frame, and there will be none.
    captures_.post([this](const std::stop_token&) { Streamer->newFrame(nullptr, 0); });
  }
  if (Streamer->isStreaming()) Streamer->setStream(false);
}

void CameraDevice::setStreamExposure() {
  service_.post([this, exposure = std::chrono::microseconds(std::llround(
                           Streamer->getTargetExposure() * 1e6))](const std::stop_token&) {
    try {
      if (!camera_.read(Orvik_CTL_EXPOSURE).isAuto) camera_.set(control::kExposure, exposure);
    } catch (const Error& error) {
      fail(error);
    }
  });
}

}  // namespace orvik::indi
