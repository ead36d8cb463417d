// SPDX-License-Identifier: MIT
#include "integrations/server/camera/guide_port.h"

#include <utility>

namespace orvik::server {

GuidePort::GuidePort(Camera& camera, std::function<void()> changed)
    : camera_(camera), changed_(std::move(changed)) {}

GuidePort::~GuidePort() {
  for (const GuideD line : {GuideD{0}, GuideD{1}, GuideD{2}, GuideD{3}}) release(line);
  for (imaging::Worker& worker : workers_) worker.drain();
}

void GuidePort::pulse(GuideD line, std::chrono::milliseconds length, Done done) {
  const auto give = [this, line, length](const std::stop_token& stop) {
    camera_.pulse(line, length, stop);
  };
  begin(line, false, give, std::move(done));
}

void GuidePort::hold(GuideD line) {
  {
    const std::scoped_lock lock(mutex_);
    Line& one = lines_.at(static_cast<std::size_t>(line));
    one.until = Clock::now() + kHold;
    if (one.jobs > 0 && one.isHeld && !one.stop.stop_requested()) return;
  }
  begin(line, true, [this, line](const std::stop_token& stop) { keepOn(line, stop); }, {});
}

void GuidePort::release(GuideD line) {
  const std::scoped_lock lock(mutex_);
  lines_.at(static_cast<std::size_t>(line)).stop.request_stop();
}

std::array<bool, 4> GuidePort::linesOn() const {
  const std::scoped_lock lock(mutex_);
  std::array<bool, 4> on{};
  for (std::size_t n = 0; n < on.size(); ++n) on.at(n) = lines_.at(n).jobs > 0;
  return on;
}

void GuidePort::begin(GuideD line, bool isHeld, std::function<void(const std::stop_token&)> job,
                      Done done) {
  const std::scoped_lock lock(mutex_);
  Line& one = lines_.at(static_cast<std::size_t>(line));
  one.stop.request_stop();
  ++one.jobs;
  one.isHeld = isHeld;
  one.stop = workers_.at(static_cast<std::size_t>(line))
                 .post([this, line, job = std::move(job),
                        done = std::move(done)](const std::stop_token& stop) {
                   Outcome outcome;
                   try {
                     if (!stop.stop_requested()) job(stop);
                   } catch (...) {
                     outcome = currentFailure();
                   }
                   {
                     const std::scoped_lock ended(mutex_);
                     --lines_.at(static_cast<std::size_t>(line)).jobs;
                   }
                   changed_();
                   if (done) done(outcome);
                 });
}

void GuidePort::keepOn(GuideD line, const std::stop_token& stop) {
  // Off again whatever happens, also if it is not known whether the request to switch it on has
  // arrived.
  const struct Off {
    Camera& camera;
    GuideD line;
    ~Off() {
      std::error_code ignored;  // the library remembers it and repeats the request
      camera.setGuideLine(line, false, ignored);
    }
  } off{camera_, line};
  camera_.setGuideLine(line, true);
  for (;;) {
    Clock::duration left{};
    {
      const std::scoped_lock lock(mutex_);
      left = lines_.at(static_cast<std::size_t>(line)).until - Clock::now();
    }
    if (left <= Clock::duration::zero() || !sleepFor(left, stop)) return;
  }
}

}  // namespace orvik::server
