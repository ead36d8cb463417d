// SPDX-License-Identifier: MIT
#include "delivery/dark_frame.h"

#include <utility>

namespace orvik {
namespace {

/// Whether the sensor combines four pixels of one colour into each sample of a frame.
bool isBinnedByColour(const FrameRegion& region) {
  return region.bin == 2 && region.colourStep == 2;
}

}  // namespace

DarkFrame::DarkFrame(int width, int height) : width_(width), height_(height) {}

std::shared_ptr<PageBuffer> DarkFrame::newPlane() const {
  auto plane = std::make_shared<PageBuffer>(static_cast<std::size_t>(width_) *
                                            static_cast<std::size_t>(height_));
  return plane->size() != 0 ? plane : nullptr;
}

DarkFileResult DarkFrame::load(const std::string& path) {
  const auto plane = newPlane();
  if (!plane) return DarkFileResult::kNotUsable;
  const DarkFileResult result = readDarkFile(path, width_, height_, plane->bytes());
  if (result == DarkFileResult::kCannotOpen) loaded_ = false;
  if (result != DarkFileResult::kDone) return result;
  adopt(plane);
  setPath(path);
  return result;
}

bool DarkFrame::save(const std::string& path) {
  const Plane dark = plane();
  if (!dark || !writeDarkFile(path, width_, height_, dark->bytes())) return false;
  setPath(path);
  return true;
}

std::string DarkFrame::path() const {
  const std::lock_guard lock(labels_);
  return path_;
}

void DarkFrame::setPath(const std::string& path) {
  const std::lock_guard lock(labels_);
  path_ = path;
}

void DarkFrame::use(bool on) {
  const std::lock_guard lock(changing_);
  if (on_.exchange(on) != on) cut();
}

void DarkFrame::follow(const FrameRegion& region) {
  const std::lock_guard lock(changing_);
  if (region == region_) return;
  region_ = region;
  cut();
}

void DarkFrame::adopt(Plane plane) {
  const std::lock_guard lock(changing_);
  plane_.set(std::move(plane));
  loaded_ = true;
  cut();
}

void DarkFrame::cut() {
  const Plane dark = plane();
  cut_.set(on_ && dark ? makeCut(*dark, region_) : nullptr);
}

std::shared_ptr<const DarkFrame::Cut> DarkFrame::makeCut(const PageBuffer& plane,
                                                         const FrameRegion& region) const {
  auto cut = std::make_shared<Cut>();
  cut->region = region;
  // Samples combined by colour are weighted by binDark(), which needs the single pixels.
  FrameRegion source = region;
  if (isBinnedByColour(region)) {
    source.columns *= 2;
    source.rows *= 2;
    source.bin = 1;
  }
  auto samples = std::make_unique<PageBuffer>(2 * source.samples());
  if (samples->size() == 0) return nullptr;
  cutPlane({plane.data(), width_, height_}, source, samples->words());
  const std::span<const std::uint16_t> all(samples->words(), source.samples());
  cut->mean = darkMean(all);
  cut->hot = hotSamples(all, cut->mean);
  if (isBinnedByColour(region)) {
    auto binned = std::make_unique<PageBuffer>(2 * region.samples());
    if (binned->size() == 0) return nullptr;
    binDark(all.data(), source.columns, source.rows, static_cast<int>(cut->mean), binned->words());
    samples = std::move(binned);
  }
  cut->samples = std::move(samples);
  return cut;
}

void DarkFrame::startRecording(int frames) {
  const auto pixels = static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_);
  auto recording = std::make_shared<DarkRecording>(pixels, frames);
  const std::lock_guard lock(labels_);
  recordingOver_ = false;
  recording_ = std::move(recording);
}

void DarkFrame::stopRecording() {
  const std::lock_guard lock(labels_);
  if (recording_ && !recording_->isComplete()) recording_ = nullptr;
}

void DarkFrame::recordingCount(int& taken, int& wanted) const {
  const std::lock_guard lock(labels_);
  taken = recording_ ? recording_->framesTaken() : 0;
  wanted = recording_ ? recording_->framesWanted() : 1;
}

void DarkFrame::addFrame(std::span<const std::uint8_t> frame, int columns, int rows) {
  std::shared_ptr<DarkRecording> recording;
  {
    const std::lock_guard lock(labels_);
    recording = recording_;
  }
  if (!recording || recording->isComplete() || columns != width_ || rows != height_) return;
  recording->add(frame);
  if (!recording->isComplete()) return;
  const auto dark = newPlane();
  if (!dark) return;
  recording->finish(dark->bytes());
  if (!isCurrent(recording)) return;  // cancelled or restarted meanwhile
  adopt(dark);
  const std::lock_guard lock(labels_);
  if (recording_ == recording) recordingOver_ = true;
}

bool DarkFrame::isCurrent(const std::shared_ptr<DarkRecording>& recording) const {
  const std::lock_guard lock(labels_);
  return recording_ == recording;
}

DarkFrame::Subtraction DarkFrame::subtractionFor(const FrameRegion& region) const {
  if (!isInUse()) return {};
  auto cut = cut_.get();
  if (cut && cut->region != region) {
    const Plane dark = plane();
    cut = dark ? makeCut(*dark, region) : nullptr;
  }
  return Subtraction(std::move(cut));
}

void DarkFrame::Subtraction::apply(std::span<std::uint8_t> samples, std::size_t first) const {
  subtractDark(samples.data(), static_cast<int>(samples.size()), 1, static_cast<int>(cut_->mean),
               cut_->samples->words() + first);
}

void DarkFrame::subtract(std::span<std::uint8_t> frame, const FrameRegion& region) const {
  if (frame.size() < region.samples()) return;
  const Subtraction subtraction = subtractionFor(region);
  if (subtraction) subtraction.apply(frame.first(region.samples()), 0);
}

std::size_t DarkFrame::hotSampleCount() const {
  const auto cut = cut_.get();
  return cut ? cut->hot.size() : 0;
}

std::uint32_t DarkFrame::mean() const {
  const auto cut = cut_.get();
  return cut ? cut->mean : 0;
}

}  // namespace orvik
