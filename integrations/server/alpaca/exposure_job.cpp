// SPDX-License-Identifier: MIT
#include "integrations/server/alpaca/exposure_job.h"

#include <memory>
#include <span>
#include <string>
#include <utility>

#include "integrations/server/alpaca/error.h"
#include "integrations/server/alpaca/transpose.h"

namespace orvik::server {
namespace {

/// Switches dark subtraction off as long as it exists: it changes 8-bit images.
class WithoutDark {
 public:
  explicit WithoutDark(const Camera& camera)
      : dark_(camera.dark()), wasUsed_(dark_.info().inUse == Orvik_TRUE) {
    if (wasUsed_) dark_.use(false);
  }
  ~WithoutDark() {
    std::error_code error;  // of a camera that has gone
    if (wasUsed_) dark_.use(true, error);
  }
  WithoutDark(const WithoutDark&) = delete;
  WithoutDark& operator=(const WithoutDark&) = delete;

 private:
  DarkFrame dark_;
  bool wasUsed_;
};

void setIfOffered(Camera& camera, Orvik_CONTROL_TYPE type, int value) {
  if (camera.control(type) != nullptr) camera.write(type, {value, false});
}

/// Clients correct and stretch images themselves: they get what the sensor has measured.
void setUp(Camera& camera, const ExposureRequest& request) {
  camera.set(control::kGain, request.gain);
  if (request.offset) camera.set(control::kBrightness, *request.offset);
  constexpr int kLinear = 50;
  constexpr int kNeutral = 50;
  setIfOffered(camera, Orvik_CTL_GAMMA, kLinear);
  setIfOffered(camera, Orvik_CTL_WB_R, kNeutral);
  setIfOffered(camera, Orvik_CTL_WB_B, kNeutral);
  setIfOffered(camera, Orvik_CTL_HARDWARE_BIN, 0);
  setIfOffered(camera, Orvik_CTL_HIGH_SPEED_MODE, request.isFast ? 1 : 0);
}

/// The position comes after the format, which centres the region.
void setRegion(Camera& camera, const ImageFormat& format) {
  camera.setFormat(format);
  camera.setStart(format.startX, format.startY);
  if (camera.format() != format) {
    throw AlpacaError(ErrorNumber::kDriver, camera.doing("it reads out another region than asked"));
  }
}

template <typename Sample>
void store(std::span<const std::uint8_t> memory, const Cut& cut, AlpacaImage& image) {
  transpose(reinterpret_cast<const Sample*>(memory.data()) + cut.first, cut.stride,
            static_cast<std::size_t>(image.numX), static_cast<std::size_t>(image.numY),
            image.as<Sample>());
}

}  // namespace

TakenImage takeImage(Camera& camera, const ExposureRequest& request, ImageRoom& room,
                     const std::stop_token& stop, const ExposureProgress& progress) {
  const WithoutDark withoutDark(camera);
  setUp(camera, request);
  const int flip = static_cast<int>(camera.get(control::kFlip));
  const CapturePlan plan = planCapture(request.subframe, request.type, flip, camera.info());
  setRegion(camera, plan.format);
  camera.set(control::kExposure, request.length);

  const auto frame = std::make_shared<Frame>();
  {
    Snapshot snapshot(camera);
    progress.begun(snapshot.exposure());
    if (!snapshot.wait(stop)) return {};
    frame->reserve(plan.bytes());
    snapshot.fetch(*frame);
  }
  const FrameInfo& info = frame->info();
  if (info.width != plan.format.width || info.height != plan.format.height ||
      info.type != plan.format.type) {
    throw AlpacaError(ErrorNumber::kDriver,
                      camera.doing("the image has another format than asked"));
  }
  progress.storing();
  const std::span<std::uint8_t> memory = frame->reserve(plan.bytes());
  const Cut cut = binOnHost(plan, camera.info().colour == Orvik_TRUE, memory);
  const Subframe& subframe = request.subframe;
  const auto image = room.make(subframe.numX, subframe.numY, bytesPerPixel(request.type), stop);
  if (!image) return {};
  if (request.type == Orvik_IMG_RAW16) {
    store<std::uint16_t>(memory, cut, *image);
  } else {
    store<std::uint8_t>(memory, cut, *image);
  }
  if (plan.hostBin == 1) progress.stored(frame);
  return {image, info.exposure(), info.start()};
}

}  // namespace orvik::server
