// SPDX-License-Identifier: MIT
#include "integrations/server/live/live_view.h"

#include <algorithm>
#include <ctime>

namespace orvik::server {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

// A page that is loaded anew does not stop the camera.
constexpr auto kLinger = seconds(2);
constexpr auto kLongestWait = milliseconds(500);

std::chrono::duration<double> processorTime() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

}  // namespace

LiveView::LiveView(std::function<void(bool)> wantLive)
    : wantLive_(std::move(wantLive)), thread_([this](const std::stop_token& stop) { run(stop); }) {}

LiveView::~LiveView() = default;

void LiveView::notify() {
  isNotified_ = true;
  changed_.notify_all();
}

std::shared_ptr<LiveView::Viewer> LiveView::viewer(int number) {
  const auto found = viewers_.find(number);
  return found == viewers_.end() ? nullptr : found->second;
}

void LiveView::opened(const Orvik_CAMERA_INFO& camera) {
  const std::scoped_lock lock(mutex_);
  camera_ = camera;
  restart_ = true;
  tellWanted_ = true;
  notify();
}

void LiveView::frame(const SharedFrame& frame) {
  SharedFrame former;  // given back when the lock is released
  const std::scoped_lock lock(mutex_);
  if (!somebodyLooks()) return;
  former = std::exchange(latest_, frame);
  ++sequence_;
  const auto now = Clock::now();
  const auto interval = std::min<Clock::duration>(now - arrived_, seconds(10));
  interval_ = interval_ == Clock::duration::zero() ? interval : (7 * interval_ + interval) / 8;
  arrived_ = now;
  notify();
}

int LiveView::add(std::shared_ptr<LiveViewer> viewer) {
  const std::scoped_lock lock(mutex_);
  auto added = std::make_shared<Viewer>();
  added->viewer = std::move(viewer);
  viewers_[++lastViewer_] = std::move(added);
  return lastViewer_;
}

void LiveView::remove(int viewer) {
  std::shared_ptr<Viewer> removed;
  const std::scoped_lock lock(mutex_);
  const auto found = viewers_.find(viewer);
  if (found == viewers_.end()) return;
  removed = std::move(found->second);
  viewers_.erase(found);
  notify();
}

void LiveView::wish(int viewer, const ViewWish& wish) {
  const std::scoped_lock lock(mutex_);
  const auto found = this->viewer(viewer);
  if (!found) return;
  found->wish = wish;
  found->shows = 0;
  notify();
}

void LiveView::seen(int viewer, std::uint32_t message) {
  const std::scoped_lock lock(mutex_);
  const auto found = this->viewer(viewer);
  if (!found) return;
  found->pace.seen(message, Clock::now());
  notify();
}

void LiveView::point(int viewer, std::optional<std::pair<int, int>> pixel) {
  const std::scoped_lock lock(mutex_);
  const auto found = this->viewer(viewer);
  if (!found) return;
  found->pointer = pixel;
  counted_ = 0;  // also if no other frame comes
  notify();
}

void LiveView::focus(int viewer, bool isOn) {
  const std::scoped_lock lock(mutex_);
  const auto found = this->viewer(viewer);
  if (!found) return;
  found->wantsStars = isOn;
  if (isOn) {
    found->courseUntil = 0;
    searched_ = 0;
  }
  notify();
}

void LiveView::drained() {
  const std::scoped_lock lock(mutex_);
  notify();
}

void LiveView::setStretch(const imaging::Stretch& stretch) {
  const std::scoped_lock lock(mutex_);
  stretch_ = stretch;
  isStretchSet_ = true;
  restart_ = true;
  counted_ = 0;
  notify();
}

imaging::Stretch LiveView::stretch() const {
  const std::scoped_lock lock(mutex_);
  return inEffect_;
}

int LiveView::shown() const {
  const std::scoped_lock lock(mutex_);
  return static_cast<int>(std::count_if(viewers_.begin(), viewers_.end(),
                                        [](const auto& one) { return one.second->wish.isShown; }));
}

bool LiveView::somebodyLooks() const {
  return std::any_of(viewers_.begin(), viewers_.end(),
                     [](const auto& one) { return one.second->wish.isShown; });
}

void LiveView::lookAfterCamera(std::unique_lock<std::mutex>& lock, Clock::time_point now,
                               Clock::time_point& wake) {
  SharedFrame former;
  const bool looks = somebodyLooks();
  if (looks) {
    unwatchedSince_.reset();
  } else if (wanted_) {
    if (!unwatchedSince_) unwatchedSince_ = now;
    wake = std::min(wake, *unwatchedSince_ + kLinger);
  }
  const bool wanted = looks || (wanted_ && now < *unwatchedSince_ + kLinger);
  if (wanted == wanted_ && !tellWanted_) return;
  if (!wanted) former = std::exchange(latest_, nullptr);
  wanted_ = wanted;
  tellWanted_ = false;
  lock.unlock();
  former.reset();
  wantLive_(wanted);
  lock.lock();
}

bool LiveView::needsPicture(const Viewer& viewer, Clock::time_point now) const {
  if (!viewer.wish.isShown || viewer.viewer->waiting() > 2 || !viewer.pace.mayTake(now)) {
    return false;
  }
  return viewer.shows != sequence_ || viewer.stretch != stretchNumber_;
}

LiveView::Work LiveView::nextWork(Clock::time_point now, Clock::time_point& wake) {
  Work work;
  if (!latest_ || !somebodyLooks()) return work;
  work.frame = latest_;
  work.sequence = sequence_;
  const auto due = [&](Clock::time_point at, std::uint64_t last) {
    if (last == sequence_) return false;
    wake = std::min(wake, std::max(at, now));
    return at <= now;
  };
  work.countValues = due(countAt_, counted_);
  const bool starsWanted = std::any_of(viewers_.begin(), viewers_.end(), [](const auto& one) {
    return one.second->wish.isShown && one.second->wantsStars;
  });
  if (starsWanted) work.findStars = due(searchAt_, searched_);
  work.makePictures = std::any_of(viewers_.begin(), viewers_.end(),
                                  [&](const auto& one) { return needsPicture(*one.second, now); });
  return work;
}

void LiveView::run(const std::stop_token& stop) {
  std::unique_lock lock(mutex_);
  while (!stop.stop_requested()) {
    isNotified_ = false;
    const auto now = Clock::now();
    auto wake = now + kLongestWait;
    lookAfterCamera(lock, now, wake);
    if (std::exchange(isStretchSet_, false)) {
      imaging::Stretch stretch = stretch_;
      if (stretch.mode == imaging::Stretch::Mode::kAuto) {
        // Until the next picture is counted, which follows at once if there is one.
        stretch.black = inEffect_.black;
        stretch.white = inEffect_.white;
      }
      lock.unlock();
      useStretch(stretch);
      lock.lock();
    }
    Work due = nextWork(now, wake);
    const auto wait = budget_.wait(now);
    if (due.isAny() && wait == Clock::duration::zero()) {
      if (due.countValues) counted_ = due.sequence;
      if (due.findStars) searched_ = due.sequence;
      lock.unlock();
      const auto begun = processorTime();
      work(due);
      budget_.spend(processorTime() - begun);
      due.frame.reset();
      lock.lock();
      continue;
    }
    const bool mustPause = due.isAny();
    due.frame.reset();
    if (mustPause) {
      changed_.wait_until(lock, stop, now + wait, [] { return false; });
    } else {
      changed_.wait_until(lock, stop, wake, [this] { return isNotified_; });
    }
  }
}

}  // namespace orvik::server
