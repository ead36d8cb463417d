// SPDX-License-Identifier: MIT
#include "tools/orvikctl/video_reader.h"

#include "tools/orvikctl/capture_setup.h"
#include "tools/orvikctl/error_text.h"
#include "tools/orvikctl/interrupt.h"

namespace orvik::ctl {
namespace {

// Waits in slices, so that Ctrl-C takes effect at once during long exposures.
constexpr auto kSlice = std::chrono::milliseconds(100);

std::chrono::microseconds exposureOf(const Camera& camera) {
  return std::chrono::microseconds(camera.value(Orvik_CTL_EXPOSURE).value);
}

}  // namespace

VideoReader::VideoReader(Camera& camera, const ImageFormat& format, const VideoLimits& limits,
                         std::size_t memoryBytes)
    : camera_(camera),
      limits_(limits),
      readOutLimit_(readOutLimit(format)),
      exposureVaries_(camera.value(Orvik_CTL_EXPOSURE).isAuto),
      exposure_(exposureOf(camera)),
      pool_(imageBytes(format.width, format.height, format.type), memoryBytes) {
  camera_.startVideo();
  begun_ = Clock::now();
  thread_ = std::thread([this] { run(); });
}

VideoReader::~VideoReader() {
  stop_.store(true);
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
    camera_.stopVideo();
  } catch (...) {
    fault_ = std::current_exception();
  }
  pool_.end();
}

void VideoReader::readAll() {
  for (std::int64_t count = 0; !limits_.frames || count < *limits_.frames; ++count) {
    PooledFrame* frame = pool_.acquire();
    if (frame == nullptr) return;
    if (!waitForFrame(*frame)) {
      pool_.giveBack(frame);
      return;
    }
    frame->info = camera_.frameInfo();
    if (exposureVaries_) exposure_ = exposureOf(camera_);
    pool_.publish(frame);
    lost_.store(camera_.droppedFrames(), std::memory_order_relaxed);
  }
}

bool VideoReader::waitForFrame(PooledFrame& frame) {
  const auto deadline = Clock::now() + 2 * exposure_ + readOutLimit_;
  while (wanted()) {
    if (camera_.readFrame(frame.pixels, static_cast<int>(kSlice.count()))) return true;
    if (Clock::now() > deadline) check(Orvik_ERROR_NO_FRAME, "recording");
  }
  return false;
}

bool VideoReader::wanted() const {
  if (stop_.load() || interrupted()) return false;
  return !limits_.duration || Clock::now() - begun_ < *limits_.duration;
}

}  // namespace orvik::ctl
