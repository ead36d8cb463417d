// SPDX-License-Identifier: MIT
#include "sim/stream/picture_source.h"

#include <algorithm>
#include <span>

#include "sim/picture/marks.h"

namespace orvik::sim {
namespace {

constexpr std::size_t kStripBytes = std::size_t{4} << 20U;
/// Memory that is kept for further strips or pictures; more is needed only while the host is late.
constexpr std::size_t kMostMemories = 4;
/// Frames above this are repeated from two pictures, smaller ones from four.
constexpr std::size_t kLargeFrame = std::size_t{16} << 20U;

}  // namespace

std::shared_ptr<const Picture> PictureSource::make(const FrameSettings& settings, const Look& look,
                                                   std::uint64_t number, bool repeated) {
  // While the sky moves, a picture is of no use a second time.
  repeated = repeated && look == last_;
  last_ = look;
  std::shared_ptr<Picture> picture;
  if (repeated) {
    picture = fromRing(settings, look, number);
  } else {
    picture = memory();
    makeWhole(settings, look, number, *picture);
  }
  stampMarks(settings.marks, *picture, static_cast<std::uint16_t>(number));
  if (!filter_) return picture;
  if (repeated) {  // the filter must not change the picture in the ring
    std::shared_ptr<Picture> copy = memory();
    *copy = *picture;
    picture = std::move(copy);
  }
  const bool goesOut = filter_(*picture) && !picture->empty();
  return goesOut ? picture : nullptr;
}

Strip PictureSource::makeStrip(const FrameSettings& settings, const Look& look,
                               std::uint64_t number, int row) {
  if (filter_) return {make(settings, look, number, false), {0, settings.rows}};
  const std::size_t rowBytes = settings.bytes() / static_cast<std::size_t>(settings.rows);
  // An even number of rows, since those of a binned mosaic are made in pairs.
  const int most = std::max(2, static_cast<int>(kStripBytes / rowBytes) / 2 * 2);
  const RowRange rows{row, std::min(row + most, settings.rows)};
  std::shared_ptr<Picture> strip = memory();
  strip->resize(static_cast<std::size_t>(rows.count()) * rowBytes);
  maker_.make(settings, look, number, rows, *strip);
  const auto sequence = static_cast<std::uint16_t>(number);
  if (rows.begin == 0) stampHead(settings.marks, *strip, sequence);
  if (rows.end == settings.rows) stampTail(settings.marks, *strip, sequence);
  return {std::move(strip), rows};
}

void PictureSource::makeWhole(const FrameSettings& settings, const Look& look, std::uint64_t number,
                              Picture& picture) {
  picture.resize(settings.bytes());
  maker_.make(settings, look, number, {0, settings.rows}, picture);
}

void PictureSource::release() {
  maker_.release();
  memories_.clear();
  ring_ = {};
}

/// Only this object's thread writes to a picture, and only while no one else holds it.
std::shared_ptr<Picture> PictureSource::memory() {
  const auto unused = std::ranges::find_if(
      memories_, [](const std::shared_ptr<Picture>& each) { return each.use_count() == 1; });
  if (unused != memories_.end()) return *unused;
  auto fresh = std::make_shared<Picture>();
  if (memories_.size() < kMostMemories) memories_.push_back(fresh);
  return fresh;
}

std::shared_ptr<Picture> PictureSource::fromRing(const FrameSettings& settings, const Look& look,
                                                 std::uint64_t number) {
  if (ring_.settings != settings || ring_.look != look) {
    ring_ = {};
    ring_.settings = settings;
    ring_.look = look;
  }
  std::shared_ptr<Picture>& picture = ring_.pictures.at(ring_.next);
  if (ring_.made == ring_.next) {
    picture = std::make_shared<Picture>();
    makeWhole(settings, look, number, *picture);
    ++ring_.made;
  }
  const std::size_t count = settings.bytes() > kLargeFrame ? 2 : ring_.pictures.size();
  ring_.next = (ring_.next + 1) % count;
  return picture;
}

}  // namespace orvik::sim
