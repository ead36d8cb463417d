// SPDX-License-Identifier: MIT
#include "delivery/frame_delivery.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "algorithm/gamma.h"
#include "algorithm/grey10.h"
#include "algorithm/rgb_convert.h"
#include "algorithm/time_mark.h"
#include "controls/host_balance.h"
#include "delivery/local_time.h"

namespace orvik {
namespace {

constexpr int kNeutralGamma = 50;
constexpr std::ptrdiff_t kBytesPerColourPixel = 3;
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
      colourRows_(model.colour ? static_cast<std::size_t>(2 * kBytesPerColourPixel * model.maxWidth)
                               : 0) {}

void FrameDelivery::setGamma(int value) {
  std::shared_ptr<GammaTables> tables;
  if (value != kNeutralGamma) {
    tables = std::make_shared<GammaTables>();
    buildGammaTables(value, GammaTable8(tables->table8), GammaTable16(tables->table16));
  }
  gamma_.set(std::move(tables));
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
  if (!keepsLastFrame_) frame_.memory.reset();  // for a frame that comes meanwhile
  if (const auto missing = queue_.pop(frame_, image.size(), timeout)) return missing;

  const Job job = jobOf(frame_);
  protocol_.mendMarks(frame_.memory->bytes().first(job.frameBytes()), job.rowBytes());
  present_.emplace(job, stepsFor(job));
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

CorrectionSteps FrameDelivery::stepsFor(const Job& job) {
  CorrectionSteps steps;
  steps.swapsBytes = job.is16Bits && model_.highByteFirst;
  if (!job.is16Bits) {
    corrections_.dark.addFrame(frame_.memory->bytes().first(job.samples()), job.columns(),
                               job.rows());
    if (job.subtractsDark) steps.dark = corrections_.dark.subtractionFor(job.region);
  }
  steps.gamma = gamma_.get();
  steps.hotSites = corrections_.hotPixels.sitesFor(job.region);
  steps.flipsHorizontally = job.flipHorizontal;
  steps.flipsVertically = job.flipVertical;
  steps.isMosaic = model_.colour;
  return steps;
}

void FrameDelivery::markTime(const Job& job, std::uint8_t* image) {
  const ImageTypeRow type = rowOf(job.type);
  const auto now = type.carriesTimeMark ? localTimeOfDay() : std::nullopt;
  if (now) drawTimeMark(image, job.width, job.height, type.bytesPerPixel, *now);
}

void FrameDelivery::convert(const Job& job, std::span<std::uint8_t> image) {
  std::uint8_t* const out = image.data();
  const std::ptrdiff_t width = job.width;
  switch (job.type) {
    case IMAGE_8BIT:
      if (!model_.colour || job.rawOutput) break;
      makeByCells(job, [&](const CellRowDemosaic& cells, const std::uint8_t* raw, int y) {
        cells.makeLuminance(raw, y, colourRows_.data(), out + y * width);
      });
      return;
    case IMAGE_RGB24:
      makeByCells(job, [&](const CellRowDemosaic& cells, const std::uint8_t* raw, int y) {
        cells.make(raw, y, out + kBytesPerColourPixel * y * width);
      });
      return;
    case IMAGE_YUV422:  // upside down: the last row of the frame is the first of the image
      makeByCells(job, [&](const CellRowDemosaic& cells, const std::uint8_t* raw, int y) {
        cells.make(raw, y, colourRows_.data());
        const int rows = cells.rowsAt(y);
        yuv422(colourRows_.data(), out + 2 * width * (job.height - y - rows), job.width, rows,
               true);
      });
      return;
    case IMAGE_GREY30:
      present_->correctRows(*frame_.memory, job.rows());
      grey10(frame_.memory->words(), out, job.pixels());
      return;
    case IMAGE_RAW16:
      break;
  }
  present_->makeImage(*frame_.memory, image);
}

BayerPattern FrameDelivery::patternOf(const Job& job) const {
  return flippedPattern(model_.bayer, job.flipHorizontal, job.flipVertical);
}

/// Calls `make(cells, frame, y)` for each row of cells, when that and the row below it, which it
/// reads too, have been corrected.
template <class Make>
void FrameDelivery::makeByCells(const Job& job, Make make) {
  constexpr int kRowsRead = 4;
  const CellRowDemosaic cells(patternOf(job), job.width, job.height, hostBalance(model_, state_));
  for (int y = 0; y < job.height; y += 2) {
    present_->correctRows(*frame_.memory, y + kRowsRead);
    make(cells, frame_.memory->data(), y);
  }
}

}  // namespace orvik
