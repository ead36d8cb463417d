// SPDX-License-Identifier: MIT
#include "integrations/server/camera/capture_engine.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "imaging/unplugged.h"

namespace orvik::server {
namespace {

/// Frames of the live view: one is being read, one is the latest, and those who look at frames have
/// one or two more.
constexpr std::size_t kLiveFrames = 4;
constexpr std::chrono::seconds kRetry{1};

}  // namespace

void Audience::add(std::weak_ptr<FrameListener> listener) {
  const std::scoped_lock lock(mutex_);
  listeners_.push_back(std::move(listener));
}

void Audience::show(const SharedFrame& frame) {
  const std::scoped_lock lock(mutex_);
  std::erase_if(listeners_, [&](const std::weak_ptr<FrameListener>& one) {
    const auto listener = one.lock();
    if (listener != nullptr) listener->frame(frame);
    return listener == nullptr;
  });
}

class CaptureEngine::Context final : public CaptureContext {
 public:
  Context(CaptureEngine& engine, std::stop_token stop) : engine_(engine), stop_(std::move(stop)) {}
  Camera& camera() override { return engine_.camera_; }
  [[nodiscard]] const std::stop_token& stop() const override { return stop_; }
  void show(const SharedFrame& frame) override { engine_.show(frame); }
  void usePageSettings() override { engine_.settings_.apply(); }

 private:
  CaptureEngine& engine_;
  std::stop_token stop_;
};

CaptureEngine::CaptureEngine(Camera& camera, PageSettings& settings, Audience& audience,
                             Reports reports)
    : camera_(camera),
      settings_(settings),
      audience_(audience),
      reports_(std::move(reports)),
      store_(kLiveFrames),
      thread_([this](const std::stop_token& end) { run(end); }) {}

CaptureEngine::~CaptureEngine() {
  {
    const std::scoped_lock lock(mutex_);
    thread_.request_stop();
    captureStop_.request_stop();
    liveStop_.request_stop();
  }
  thread_.join();
}

bool CaptureEngine::tryCapture(Capture capture) {
  {
    const std::scoped_lock lock(mutex_);
    if (capture_ || thread_.get_stop_token().stop_requested()) return false;
    capture_ = std::move(capture);
    captureStop_ = std::stop_source();
    liveStop_.request_stop();
  }
  woken_.notify_all();
  return true;
}

void CaptureEngine::stopCapture() {
  const std::scoped_lock lock(mutex_);
  captureStop_.request_stop();
}

void CaptureEngine::wantLive(bool wanted) {
  {
    const std::scoped_lock lock(mutex_);
    liveWanted_ = wanted;
    if (!wanted) liveStop_.request_stop();
  }
  woken_.notify_all();
}

Activity CaptureEngine::activity() const {
  const std::scoped_lock lock(mutex_);
  if (capture_) return Activity::kCapture;
  return isLive_ ? Activity::kLive : Activity::kNone;
}

std::string CaptureEngine::captureText() const {
  const std::scoped_lock lock(mutex_);
  return capture_ ? capture_->what : "";
}

void CaptureEngine::run(const std::stop_token& end) {
  for (;;) {
    bool captures = false;
    {
      std::unique_lock lock(mutex_);
      woken_.wait(lock, end, [this] { return capture_ || liveWanted_; });
      captures = capture_.has_value();
      // A capture that was accepted is told its end in any case.
      if (end.stop_requested() && !captures) return;
      if (!captures) {
        liveStop_ = std::stop_source();
        isLive_ = true;
      }
    }
    if (captures) {
      runCapture();
    } else {
      reports_.changed();
      runLive();
      {
        const std::scoped_lock lock(mutex_);
        isLive_ = false;
      }
      frameRate_ = 0;
      store_.trim();
      reports_.changed();
    }
  }
}

void CaptureEngine::runCapture() {
  Done done;
  std::function<void(CaptureContext&)> job;
  std::stop_token stop;
  bool hasOwnSettings = false;
  {
    const std::scoped_lock lock(mutex_);
    done = std::move(capture_->done);
    job = std::move(capture_->run);
    stop = captureStop_.get_token();
    hasOwnSettings = capture_->hasOwnSettings;
  }
  settings_.lend(hasOwnSettings);
  Outcome outcome;
  bool isUnplugged = false;
  lost_ = 0;
  lastByte_ = 0;
  try {
    if (!hasOwnSettings) settings_.apply();  // the capture before may have had others
    Context context(*this, stop);
    job(context);
    if (thread_.get_stop_token().stop_requested()) {
      // A capture that is told to stop returns as if it had been complete.
      throw FailureException({Failure::Kind::kCancelled, Orvik_OK, "The camera was closed."});
    }
  } catch (...) {
    outcome = currentFailure();
    isUnplugged = imaging::wasUnplugged(camera_);
    if (isUnplugged) {
      *outcome = {Failure::Kind::kNotOpen, outcome->code, "The camera was unplugged."};
    }
  }
  job = nullptr;  // what it holds is freed before the camera is free again
  settings_.takeBack();
  frameRate_ = 0;
  {
    const std::scoped_lock lock(mutex_);
    capture_.reset();
  }
  reports_.changed();
  if (done) done(outcome);
  if (isUnplugged) reports_.unplugged();
}

void CaptureEngine::runLive() {
  std::stop_token stop;
  {
    const std::scoped_lock lock(mutex_);
    stop = liveStop_.get_token();
  }
  while (!stop.stop_requested()) {
    try {
      settings_.apply();
      readLive(stop);
      return;
    } catch (...) {
      if (imaging::wasUnplugged(camera_)) {
        reports_.unplugged();
        sleepFor(std::chrono::hours(1), stop);  // until it is closed
        return;
      }
      reports_.liveProblem(currentFailure().message);
      sleepFor(kRetry, stop);
    }
  }
}

void CaptureEngine::readLive(const std::stop_token& stop) {
  lost_ = 0;
  lastByte_ = 0;
  Video video(camera_, stop);
  Frame unseen;  // takes the images for which no frame is free
  bool isFirst = true;
  for (;;) {
    const std::shared_ptr<Frame> frame = store_.take();
    if (!video.next(frame != nullptr ? *frame : unseen)) return;
    if (std::exchange(isFirst, false)) reports_.liveProblem("");
    lost_ = camera_.droppedFrames();
    if (frame != nullptr) show(frame);
  }
}

void CaptureEngine::show(const SharedFrame& frame) {
  const FrameInfo& info = frame->info();
  lost_ = camera_.droppedFrames();
  const double seconds = static_cast<double>(info.lastByte - lastByte_) / 1e9;
  if (info.number <= lastNumber_) {
    frameRate_ = 0;  // a setting has begun another video
  } else if (lastByte_ > 0 && seconds > 0) {
    const double now = static_cast<double>(info.number - lastNumber_) / seconds;
    // Averaged over about a second.
    const double weight = std::min(seconds, 1.0);
    frameRate_ = frameRate_ == 0 ? now : frameRate_ + weight * (now - frameRate_);
  }
  lastByte_ = info.lastByte;
  lastNumber_ = info.number;
  audience_.show(frame);
}

}  // namespace orvik::server
