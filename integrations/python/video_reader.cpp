// SPDX-License-Identifier: MIT
#include "video_reader.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "interpreter.h"
#include "records.h"

namespace orvik::python {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

VideoReader::VideoReader(std::shared_ptr<Session> session, std::optional<std::int64_t> count,
                         std::optional<double> timeout)
    : session_(std::move(session)), left_(count), timeout_(timeout) {
  const Unlocked unlocked;
  session_->use([this](Camera& camera) { video_.emplace(camera); });
}

py::object VideoReader::next() {
  if (isStopped_ || (left_ && *left_ <= 0)) {
    stop();
    throw py::stop_iteration();
  }
  const auto frame = unusedFrame();
  bool isRead = false;
  bool isReader = false;
  try {
    {
      const Unlocked unlocked;
      session_->useFrames([&](Camera& camera) {
        isReader = true;
        isRead = read(camera, *frame);
      });
    }
    if (!isRead) throw py::stop_iteration();
    if (left_) --*left_;
    lost_ += frame->info().lostBefore;
    return record(frame, session_->info());  // runs Python code, which may see Ctrl-C
  } catch (...) {
    if (isReader) stop();  // a thread that was refused leaves the video to its reader
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
  const auto begun = Clock::now();
  while (!isStopped_) {
    std::error_code error;
    if (video_->next(frame, kSlice, error)) return true;
    if (isStopped_) break;
    session_->requireOpen();
    if (error) throw Error(Orvik_ERROR_CODE{error.value()}, camera.doing("reading a frame"));
    checkSignals();
    const Seconds limit = timeout_ ? Seconds(*timeout_) : Seconds(video_->limit());
    if (Clock::now() - begun > limit) {
      throw Error(Orvik_ERROR_TIMEOUT, camera.doing("reading a frame"));
    }
  }
  return false;
}

void VideoReader::stop() noexcept {
  const Unlocked unlocked;
  if (!isStopped_.exchange(true)) session_->release([this](Camera&) { video_->stop(); });
}

py::object snap(const std::shared_ptr<Session>& session) {
  const auto frame = std::make_shared<Frame>();
  {
    const Unlocked unlocked;
    session->useFrames([&](Camera& camera) {
      Snapshot snapshot(camera);
      while (!snapshot.isReady()) {
        session->requireOpen();
        checkSignals();
        const auto step =
            std::chrono::duration_cast<std::chrono::milliseconds>(snapshot.left() / 2);
        std::this_thread::sleep_for(std::clamp(step, std::chrono::milliseconds(1), kSlice));
      }
      snapshot.fetch(*frame);
    });
  }
  return record(frame, session->info());
}

}  // namespace orvik::python
