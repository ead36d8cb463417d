// SPDX-License-Identifier: MIT
#include "delivery/frame_delivery.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <utility>

#include "algorithm/binning.h"
#include "algorithm/byte_order.h"
#include "algorithm/flip.h"
#include "algorithm/grey10.h"
#include "algorithm/rgb_convert.h"
#include "algorithm/time_mark.h"
#include "controls/host_balance.h"
#include "delivery/local_time.h"

namespace orvik {
namespace {

constexpr int kNeutralGamma = 50;
constexpr std::size_t kBytesPerColourPixel = 3;
/// With automatic exposure, the dark frame is not subtracted below this exposure: the object is
/// bright, its brightness is measured on uncorrected frames, and the dark current is negligible.
constexpr std::uint64_t kShortestDarkWithAutoExposureUs = 500'000;

}  // namespace

/// How one image is made: the format of its frame, and the present settings, read once.
struct FrameDelivery::Job : FrameFormat {
  explicit Job(const FrameFormat& format) : FrameFormat(format) {}

  FrameRegion region;
  bool flipHorizontal = false;
  bool flipVertical = false;
  bool subtractsDark = false;
  bool timeMark = false;
};

FrameDelivery::FrameDelivery(const ModelRow& model, const FrameProtocol& protocol,
                             const CameraState& state, FrameQueue& queue, Corrections corrections)
    : model_(model),
      protocol_(protocol),
      state_(state),
      queue_(queue),
      corrections_(corrections),
      colourRows_(model.colour ? 2 * kBytesPerColourPixel * static_cast<std::size_t>(model.maxWidth)
                               : 0) {}

void FrameDelivery::setGamma(int value) {
  std::shared_ptr<GammaTables> tables;
  if (value != kNeutralGamma) {
    tables = std::make_shared<GammaTables>();
    buildGammaTables(value, GammaTable8(tables->table8), GammaTable16(tables->table16));
  }
  const std::lock_guard lock(gammaMutex_);
  gamma_ = std::move(tables);
}

FrameDelivery::Job FrameDelivery::jobOf(const Frame& frame) const {
  const FrameSettings& settings = frame.facts.settings;
  Job job(frame.format);
  job.region = frame.format.regionAt(settings.startX, settings.startY, model_.colour);
  job.flipHorizontal = state_.flipHorizontal;
  job.flipVertical = state_.flipVertical;
  job.subtractsDark =
      !state_.exposureAuto || settings.exposureUs >= kShortestDarkWithAutoExposureUs;
  job.timeMark = state_.timeMark;
  return job;
}

std::optional<NoFrame> FrameDelivery::deliver(std::span<std::uint8_t> image,
                                              FrameQueue::Timeout timeout) {
  const auto start = std::chrono::steady_clock::now();
  std::unique_lock delivery(delivering_, std::defer_lock);
  if (!timeout) {
    delivery.lock();
  } else if (!delivery.try_lock_for(*timeout)) {
    return NoFrame::kTimeout;
  }
  if (timeout) {  // minus the time spent waiting for the delivery before
    const auto waited = std::chrono::steady_clock::now() - start;
    *timeout -= std::min(*timeout, std::chrono::duration_cast<std::chrono::milliseconds>(waited));
  }
  if (const auto missing = queue_.pop(frame_, image.size(), timeout)) return missing;

  const Job job = jobOf(frame_);
  correct(job);
  convert(job, image.first(job.imageBytes()));
  if (job.timeMark) markTime(job, image.data());
  const std::lock_guard lock(lastMutex_);
  last_ = {.format = frame_.format,
           .facts = frame_.facts,
           .flipHorizontal = job.flipHorizontal,
           .flipVertical = job.flipVertical};
  return std::nullopt;
}

std::optional<DeliveredImage> FrameDelivery::lastImage() const {
  const std::lock_guard lock(lastMutex_);
  return last_;
}

void FrameDelivery::correct(const Job& job) {
  PageBuffer& memory = *frame_.memory;
  protocol_.mendMarks(memory.bytes().first(job.frameBytes()), job.rowBytes());
  if (job.is16Bits && model_.highByteFirst) swapBytes(std::span(memory.words(), job.samples()));
  if (!job.is16Bits) applyDark(job);
  applyGamma(job);
  mendHotPixels(job);
  if (job.is16Bits) {
    flipAndBin(job, memory.words());
  } else {
    flipAndBin(job, memory.data());
  }
}

template <class Sample>
void FrameDelivery::flipAndBin(const Job& job, Sample* samples) const {
  flip(samples, job.columns(), job.rows(), job.flipVertical, job.flipHorizontal);
  if (model_.colour) {
    binMosaic(samples, job.width, job.height, job.hostBin());
  } else {
    binMono(samples, job.width, job.height, job.hostBin());
  }
}

void FrameDelivery::markTime(const Job& job, std::uint8_t* image) {
  const ImageTypeRow type = rowOf(job.type);
  const auto now = type.carriesTimeMark ? localTimeOfDay() : std::nullopt;
  if (now) drawTimeMark(image, job.width, job.height, type.bytesPerPixel, *now);
}

void FrameDelivery::applyDark(const Job& job) {
  const std::span frame = frame_.memory->bytes().first(job.samples());
  corrections_.dark.addFrame(frame, job.columns(), job.rows());
  if (job.subtractsDark) corrections_.dark.subtract(frame, job.region);
}

void FrameDelivery::mendHotPixels(const Job& job) {
  const PageBuffer& memory = *frame_.memory;
  if (job.is16Bits) {
    corrections_.hotPixels.correct(std::span(memory.words(), job.samples()), job.region);
  } else {
    corrections_.hotPixels.correct(std::span(memory.data(), job.samples()), job.region);
  }
}

void FrameDelivery::applyGamma(const Job& job) {
  std::shared_ptr<const GammaTables> tables;
  {
    const std::lock_guard lock(gammaMutex_);
    tables = gamma_;
  }
  if (!tables) return;
  if (job.is16Bits) {
    applyTable(frame_.memory->words(), tables->table16.data(), job.columns(), job.rows());
  } else {
    applyTable(frame_.memory->data(), tables->table8.data(), job.columns(), job.rows());
  }
}

void FrameDelivery::convert(const Job& job, std::span<std::uint8_t> image) {
  switch (job.type) {
    case IMAGE_8BIT:
      if (model_.colour && !job.rawOutput) {
        convertToLuminance(job, image.data());
        return;
      }
      break;
    case IMAGE_RGB24:
      demosaic(frame_.memory->data(), image.data(), patternOf(job), job.width, job.height,
               hostBalance(model_, state_));
      return;
    case IMAGE_YUV422:
      convertToYuv(job, image.data());
      return;
    case IMAGE_GREY30:
      grey10(frame_.memory->words(), image.data(), job.pixels());
      return;
    case IMAGE_RAW16:
      break;
  }
  std::memcpy(image.data(), frame_.memory->data(), image.size());
}

BayerPattern FrameDelivery::patternOf(const Job& job) const {
  return flippedPattern(model_.bayer, job.flipHorizontal, job.flipVertical);
}

CellRowDemosaic FrameDelivery::demosaicOf(const Job& job) const {
  return {patternOf(job), job.width, job.height, hostBalance(model_, state_)};
}

void FrameDelivery::convertToLuminance(const Job& job, std::uint8_t* image) {
  const CellRowDemosaic cells = demosaicOf(job);
  for (int y = 0; y < job.height; y += 2) {
    cells.makeLuminance(frame_.memory->data(), y, colourRows_.data(),
                        image + std::ptrdiff_t{y} * job.width);
  }
}

/// The image is upside down: the last row of the frame is its first.
void FrameDelivery::convertToYuv(const Job& job, std::uint8_t* image) {
  const CellRowDemosaic cells = demosaicOf(job);
  for (int y = 0; y < job.height; y += 2) {
    cells.make(frame_.memory->data(), y, colourRows_.data());
    const int rows = cells.rowsAt(y);
    yuv422(colourRows_.data(), image + std::ptrdiff_t{2} * (job.height - y - rows) * job.width,
           job.width, rows, true);
  }
}

}  // namespace orvik
