// SPDX-License-Identifier: MIT
#include "camera/delivery/frame_delivery.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <utility>

#include "algorithm/byte_order.h"
#include "algorithm/grey10.h"
#include "algorithm/rgb_convert.h"
#include "camera/host_balance.h"

namespace orvik {
namespace {

constexpr int kNeutralGamma = 50;
constexpr std::size_t kBytesPerColourPixel = 3;
/// Below it automatic exposure is at work on a bright object, whose brightness it measures on
/// frames as they are; there is no dark worth subtracting.
constexpr std::uint64_t kShortestDarkWithAutoExposureUs = 500'000;

std::size_t largestFrame(const ModelRow& model) {
  return std::size_t{2} * static_cast<std::size_t>(model.maxWidth) *
         static_cast<std::size_t>(model.maxHeight);
}

}  // namespace

/// The settings that one image is made with, read once: they may change meanwhile.
struct FrameDelivery::Job {
  int width = 0;    ///< of the image
  int height = 0;   ///< of the image
  int hostBin = 1;  ///< bin factor that is left to the host
  bool is16Bits = false;
  bool flipHorizontal = false;
  bool flipVertical = false;
  bool rawOutput = false;
  bool subtractsDark = false;
  bool timeMark = false;
  IMAGE_TYPE type = IMAGE_8BIT;

  [[nodiscard]] std::size_t pixels() const {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  }
  [[nodiscard]] int columns() const { return width * hostBin; }
  [[nodiscard]] int rows() const { return height * hostBin; }
  [[nodiscard]] std::size_t bytesPerSample() const { return is16Bits ? 2 : 1; }
  [[nodiscard]] std::size_t samples() const {
    return static_cast<std::size_t>(columns()) * static_cast<std::size_t>(rows());
  }
  [[nodiscard]] std::size_t rowBytes() const {
    return static_cast<std::size_t>(columns()) * bytesPerSample();
  }
  /// Rows of the image that lie whole in a buffer of so many bytes.
  [[nodiscard]] int rowsWithin(std::size_t bytes) const {
    const std::size_t row =
        static_cast<std::size_t>(width) * (type == IMAGE_RGB24 ? kBytesPerColourPixel : 1);
    return static_cast<int>(std::min(bytes / row, static_cast<std::size_t>(height)));
  }
  [[nodiscard]] std::size_t frameBytes() const {
    return rowBytes() * static_cast<std::size_t>(rows());
  }
};

FrameDelivery::FrameDelivery(const ModelRow& model, const FrameProtocol& protocol,
                             const CameraState& state, FrameQueue& queue, Corrections corrections)
    : model_(model),
      protocol_(protocol),
      state_(state),
      queue_(queue),
      corrections_(corrections),
      frame_(std::make_shared<PageBuffer>(largestFrame(model))),
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

FrameDelivery::Job FrameDelivery::currentJob() const {
  Job job;
  job.width = state_.width;
  job.height = state_.height;
  job.hostBin = state_.softwareBin();
  job.is16Bits = state_.output16Bits;
  job.flipHorizontal = state_.flipHorizontal;
  job.flipVertical = state_.flipVertical;
  job.rawOutput = state_.rawOutput;
  job.subtractsDark = !state_.exposureAuto || state_.exposureUs >= kShortestDarkWithAutoExposureUs;
  job.timeMark = state_.timeMark;
  job.type = state_.imageType;
  return job;
}

bool FrameDelivery::isUsable() const { return frame_->size() != 0; }

bool FrameDelivery::fits(const Job& job, std::size_t imageBytes) const {
  switch (job.type) {
    case IMAGE_RGB24:
      return imageBytes >= job.pixels() * kBytesPerColourPixel;
    case IMAGE_YUV422:
      return imageBytes >= job.pixels() * 2;
    case IMAGE_8BIT:
      return job.rawOutput || !model_.colour || imageBytes >= job.pixels();
    default:
      return true;  // copied as far as there is room
  }
}

bool FrameDelivery::deliver(std::span<std::uint8_t> image, FrameQueue::Wait wait) {
  const auto start = std::chrono::steady_clock::now();
  const Turn::Holder turn(turn_, wait);
  if (!turn) return false;
  if (wait) {  // what the turn has cost is not waited for again
    const auto waited = std::chrono::steady_clock::now() - start;
    *wait -= std::min(*wait, std::chrono::duration_cast<std::chrono::milliseconds>(waited));
  }
  if (!isUsable() || !fits(currentJob(), image.size())) return false;
  if (!queue_.pop(frame_, wait)) return false;
  const Job job = currentJob();
  if (!fits(job, image.size())) return false;  // the format was changed during the wait

  protocol_.mendMarks(frame_->bytes().first(job.frameBytes()), job.rowBytes());
  if (job.is16Bits && model_.highByteFirst) {
    swapBytes(std::span(frame_->words(), job.samples()));
  }
  if (!job.is16Bits) applyDark(job);
  applyGamma(job);
  mendHotPixels(job);
  CAlgorithm::SoftMisc(frame_->data(), job.width, job.height, job.hostBin, job.is16Bits,
                       job.flipVertical, job.flipHorizontal);
  const auto bin = model_.colour ? CAlgorithm::ColorRAWBin : CAlgorithm::MonoBin;
  bin(frame_->data(), frame_->words(), job.width, job.height, job.hostBin, job.is16Bits);
  convert(job, image);
  if (job.timeMark)
    CAlgorithm::AddTimeMark(image.data(), job.width, job.rowsWithin(image.size()), job.type);
  return true;
}

void FrameDelivery::applyDark(const Job& job) {
  const std::span frame = frame_->bytes().first(job.samples());
  corrections_.dark.addFrame(frame, job.columns(), job.rows());
  if (job.subtractsDark) corrections_.dark.subtract(frame, job.columns(), job.rows());
}

void FrameDelivery::mendHotPixels(const Job& job) {
  if (job.is16Bits) {
    corrections_.hotPixels.correct(std::span(frame_->words(), job.samples()), job.columns(),
                                   job.rows());
  } else {
    corrections_.hotPixels.correct(std::span(frame_->data(), job.samples()), job.columns(),
                                   job.rows());
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
    CAlgorithm::Gamma(frame_->words(), tables->table16.data(), job.columns(), job.rows());
  } else {
    CAlgorithm::Gamma(frame_->data(), tables->table8.data(), job.columns(), job.rows());
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
      demosaic(frame_->data(), image.data(), patternOf(job), job.width, job.height,
               hostBalance(model_, state_));
      return;
    case IMAGE_YUV422:
      convertToYuv(job, image.data());
      return;
    case IMAGE_GREY30:
      grey10(frame_->words(), image.data(), std::min(image.size() / 4, job.pixels()));
      return;
    case IMAGE_RAW16:
      break;
  }
  std::memcpy(image.data(), frame_->data(),
              std::min(image.size(), job.pixels() * job.bytesPerSample()));
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
    cells.make(frame_->data(), y, colourRows_.data());
    luminance(colourRows_.data(), image + std::ptrdiff_t{y} * job.width, job.width,
              cells.rowsAt(y));
  }
}

/// Upside down: the last row of the frame is the first of the image.
void FrameDelivery::convertToYuv(const Job& job, std::uint8_t* image) {
  const CellRowDemosaic cells = demosaicOf(job);
  for (int y = 0; y < job.height; y += 2) {
    cells.make(frame_->data(), y, colourRows_.data());
    const int rows = cells.rowsAt(y);
    yuv422(colourRows_.data(), image + std::ptrdiff_t{2} * (job.height - y - rows) * job.width,
           job.width, rows, true);
  }
}

}  // namespace orvik
