// SPDX-License-Identifier: MIT
#include "delivery/hot_pixels.h"

#include <memory>
#include <utility>

#include "algorithm/dark.h"

namespace orvik {
namespace {

void setBit(HotPixelTable& table, std::size_t pixel, bool hot) {
  if (pixel / 8 >= table.size()) return;
  const auto bit = static_cast<std::uint8_t>(1U << pixel % 8);
  std::uint8_t& bits = table[pixel / 8];
  bits = static_cast<std::uint8_t>(hot ? bits | bit : bits & ~bit);
}

}  // namespace

HotPixels::HotPixels(int width, int height) : width_(width), height_(height) {}

void HotPixels::derive(std::span<const std::uint8_t> dark) {
  HotPixelTable table = deriveHotPixels(dark, darkMean(dark));
  const std::lock_guard lock(changing_);
  for (const auto& [pixel, hot] : marks_) setBit(table, pixel, hot);
  adopt(std::move(table));
}

bool HotPixels::mark(int x, int y, bool hot) {
  if (x < 0 || y < 0 || x >= width_ || y >= height_) return false;
  const std::size_t pixel =
      static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) + static_cast<std::size_t>(x);
  const std::lock_guard lock(changing_);
  const auto before = table_.get();
  HotPixelTable table = before ? *before : HotPixelTable(hotPixelTableBytes(width_, height_));
  marks_[pixel] = hot;
  setBit(table, pixel, hot);
  adopt(std::move(table));
  return true;
}

HotPixelSaving HotPixels::save(FlashPort& port) const {
  const auto table = table_.get();
  return table ? saveHotPixels(port, *table) : HotPixelSaving::kFailed;
}

bool HotPixels::load(FlashPort& port) {
  LoadedHotPixels loaded = loadHotPixels(port, hotPixelTableBytes(width_, height_));
  if (!loaded.table) return false;
  const std::lock_guard lock(changing_);
  marks_.clear();
  adopt(std::move(*loaded.table));
  return loaded.isComplete;
}

void HotPixels::use(bool on) {
  const std::lock_guard lock(changing_);
  if (on_.exchange(on) != on) cut();
}

void HotPixels::follow(const FrameRegion& region) {
  const std::lock_guard lock(changing_);
  if (region == region_) return;
  region_ = region;
  cut();
}

void HotPixels::adopt(HotPixelTable table) {
  table_.set(std::make_shared<const HotPixelTable>(std::move(table)));
  cut();
}

void HotPixels::cut() {
  const auto table = table_.get();
  cut_.set(on_ && table ? std::make_shared<const HotSites>(cutHotPixels(*table, width_, region_))
                        : nullptr);
}

std::shared_ptr<const HotSites> HotPixels::sitesFor(const FrameRegion& region) const {
  auto cut = cut_.get();
  if (!cut || cut->region == region) return cut;
  const auto table = table_.get();
  return table ? std::make_shared<const HotSites>(cutHotPixels(*table, width_, region)) : nullptr;
}

template <typename Sample>
void HotPixels::correctSamples(std::span<Sample> frame, const FrameRegion& region) const {
  if (frame.size() < region.samples()) return;
  if (const auto sites = sitesFor(region)) correctHotPixels(frame.data(), *sites);
}

void HotPixels::correct(std::span<std::uint8_t> frame, const FrameRegion& region) const {
  correctSamples(frame, region);
}

void HotPixels::correct(std::span<std::uint16_t> frame, const FrameRegion& region) const {
  correctSamples(frame, region);
}

std::size_t HotPixels::count() const {
  const auto table = table_.get();
  return table ? countHotPixels(*table) : 0;
}

std::size_t HotPixels::countInRegion() const {
  const auto cut = cut_.get();
  return cut ? cut->sites.size() : 0;
}

}  // namespace orvik
