// SPDX-License-Identifier: MIT
#include "sim/stream/picture_source.h"

#include <algorithm>

#include "sim/picture/marks.h"

namespace orvik::sim {

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
    picture->resize(settings.bytes());
    maker_.make(settings, look, number, *picture);
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

/// Only this object's thread writes to a picture, and only while no one else holds it.
std::shared_ptr<Picture> PictureSource::memory() {
  const auto unused = std::ranges::find_if(
      memories_, [](const std::shared_ptr<Picture>& each) { return each.use_count() == 1; });
  if (unused != memories_.end()) return *unused;
  memories_.push_back(std::make_shared<Picture>());
  return memories_.back();
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
    picture = std::make_shared<Picture>(settings.bytes());
    maker_.make(settings, look, number, *picture);
    ++ring_.made;
  }
  ring_.next = (ring_.next + 1) % ring_.pictures.size();
  return picture;
}

}  // namespace orvik::sim
