// SPDX-License-Identifier: MIT
#include "tools/orvikctl/recording/tracking.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "imaging/save_file.h"
#include "imaging/time_text.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {

Tracking::Tracking(const std::filesystem::path& log, bool overwrite) : logFile_(log) {
  if (log.empty()) return;
  imaging::refuseExisting(log, overwrite);
  log_.open(log, std::ios::trunc);
  if (!log_) imaging::failWrite(log, errno);
  log_ << "frame,utc,start_x,start_y,x,y\n";
}

void Tracking::begin(Camera& camera) {
  if (movedTo_) camera.setStart(movedTo_->x, movedTo_->y);
  tracker_.emplace(camera.info(), camera.format());
}

void Tracking::follow(Camera& camera, const Frame& frame) {
  const auto place = object_.find(imaging::sourceOf(frame, camera.info()));
  if (!place) ++framesWithout_;
  write(frame.info(), place);
  const auto next = tracker_->follow(frame.info(), place);
  if (!next) return;
  std::error_code error;  // of a camera that is gone, which its reader tells
  camera.setStart(next->x, next->y, error);
  if (error) return;
  movedTo_ = next;
  ++moves_;
}

void Tracking::finish() {
  if (!log_.is_open()) return;
  log_.close();
  if (!log_) imaging::failWrite(logFile_, EIO);
}

void Tracking::write(const FrameInfo& frame, const std::optional<Tracker::Place>& place) {
  ++frames_;
  if (!log_.is_open()) return;
  const int bin = std::max(frame.bin, 1);
  log_ << frames_ << ',' << imaging::utcText(frame.start(), 6) << ',' << frame.startX / bin << ','
       << frame.startY / bin << ',';
  if (place) log_ << fixedText(place->x, 2) << ',' << fixedText(place->y, 2);
  if (!place) log_ << ',';
  log_ << '\n';
}

}  // namespace orvik::ctl
