// SPDX-License-Identifier: MIT
#include "imaging/video_reader.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "imaging/unplugged.h"

namespace orvik::imaging {
namespace {

std::size_t frameBytes(const Camera& camera) {
  const ImageFormat format = camera.format();
  return imageBytes(format.width, format.height, format.type);
}

/// How long to wait for memory that is in use: until the next image is due. The library keeps two
/// images for a reader that is late, so that none is lost by this.
std::chrono::microseconds patienceFor(const Camera& camera) {
  constexpr double kMostSeconds = 0.5;
  std::error_code error;
  const double rate = camera.readout(error).frameRate;
  const double seconds = error || rate <= 0 ? 0 : std::min(1 / rate, kMostSeconds);
  return std::chrono::duration_cast<std::chrono::microseconds>(
      std::chrono::duration<double>(seconds));
}

}  // namespace

VideoReader::VideoReader(Camera& camera, const VideoLimits& limits, std::size_t memoryBytes,
                         std::stop_token stop)
    : camera_(camera),
      limits_(limits),
      pool_(frameBytes(camera), memoryBytes, patienceFor(camera)),
      stopWithCaller_(std::move(stop), [this] { stop_.request_stop(); }) {
  video_.emplace(camera_, stop_.get_token());
  begun_ = Clock::now();
  thread_ = std::thread([this] { run(); });
}

VideoReader::~VideoReader() {
  stop_.request_stop();
  pool_.close();
  if (thread_.joinable()) thread_.join();
}

void VideoReader::finish() {
  if (thread_.joinable()) thread_.join();
  if (fault_) std::rethrow_exception(fault_);
}

void VideoReader::run() {
  try {
    readAll();
  } catch (...) {
    fault_ = std::current_exception();
    wasUnplugged_ = imaging::wasUnplugged(camera_);
    hasFailed_.store(true, std::memory_order_release);
  }
  video_.reset();
  pool_.end();
}

void VideoReader::readAll() {
  if (limits_.duration) video_->stopAt(begun_ + *limits_.duration);
  for (std::int64_t count = 0; !limits_.frames || count < *limits_.frames; ++count) {
    Frame* frame = pool_.acquire();
    if (frame == nullptr) return;
    if (!video_->next(*frame)) {
      pool_.giveBack(frame);
      return;
    }
    pool_.publish(frame);
    lost_.store(camera_.droppedFrames(), std::memory_order_relaxed);
  }
}

}  // namespace orvik::imaging
