// SPDX-License-Identifier: MIT
#include "video_reader.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "records.h"

namespace orvik::python {

VideoReader::VideoReader(std::shared_ptr<Session> session, std::optional<std::int64_t> count,
                         std::optional<double> timeout)
    : session_(std::move(session)), left_(count), timeout_(timeout) {
  session_->use([this](Camera& camera) { video_.emplace(camera); });
}

py::object VideoReader::next() {
  const auto alone = session_->claimImages();  // a thread that is refused does not stop the video
  try {
    if (isStopped_ || (left_ && *left_ <= 0)) throw py::stop_iteration();
    const auto frame = unusedFrame();
    const bool isRead = session_->use([&](Camera& camera) { return read(camera, *frame); });
    if (!isRead) throw py::stop_iteration();
    if (left_) --*left_;
    lost_ += frame->info().lostBefore;
    return record(frame, session_->info());  // runs Python code, which may see Ctrl-C
  } catch (...) {
    stop();
    throw;
  }
}

std::shared_ptr<Frame> VideoReader::unusedFrame() {
  constexpr std::size_t kKept = 4;
  const auto unused = std::find_if(frames_.begin(), frames_.end(),
                                   [](const auto& frame) { return frame.use_count() == 1; });
  if (unused != frames_.end()) return *unused;
  if (frames_.size() == kKept) frames_.erase(frames_.begin());
  return frames_.emplace_back(std::make_shared<Frame>());
}

bool VideoReader::read(Camera& camera, Frame& frame) {
  using Clock = std::chrono::steady_clock;
  using Seconds = std::chrono::duration<double>;
  const auto begun = Clock::now();
  while (!isStopped_) {
    std::error_code error;
    if (video_->next(frame, kSlice, error)) return true;
    if (isStopped_) break;
    session_->goOn();
    if (!error) {
      const Seconds limit = timeout_ ? Seconds(*timeout_) : Seconds(video_->limit());
      if (Clock::now() - begun > limit) error = errorCode(Orvik_ERROR_TIMEOUT);
    }
    if (error) throw Error(Orvik_ERROR_CODE{error.value()}, camera.doing("reading a frame"));
  }
  return false;
}

void VideoReader::stop() noexcept {
  if (!isStopped_.exchange(true)) session_->release([this](Camera&) { video_->stop(); });
}

}  // namespace orvik::python
