// SPDX-License-Identifier: MIT
#include "integrations/server/camera/open_camera.h"

#include <chrono>
#include <utility>

namespace orvik::server {
namespace {

constexpr std::chrono::milliseconds kTick{500};

}  // namespace

OpenCamera::OpenCamera(const std::string& identity, Audience& audience, Reports reports)
    : camera_(Camera::open(identity)),
      reports_(std::move(reports)),
      settings_(camera_),
      cooler_(camera_),
      guidePort_(camera_, [this] { reports_.changed(); }),
      engine_(camera_, settings_, audience,
              {.changed = [this] { reports_.changed(); },
               .liveProblem =
                   [this](const std::string& problem) {
                     {
                       const std::scoped_lock lock(mutex_);
                       liveProblem_ = problem;
                     }
                     reports_.changed();
                   },
               .unplugged = [this] { reports_.unplugged(); }}) {
  observe();
  control_ = std::jthread([this](const std::stop_token& end) { runControl(end); });
}

OpenCamera::~OpenCamera() {
  control_.request_stop();
  control_.join();
  const Failure closed{Failure::Kind::kNotOpen, Orvik_OK, "The camera was closed."};
  for (const Job& job : std::exchange(jobs_, {})) {
    if (job.done) job.done(closed);
  }
}

void OpenCamera::post(std::function<void(Camera&)> job, Done done) {
  {
    const std::scoped_lock lock(mutex_);
    jobs_.push_back({std::move(job), std::move(done)});
  }
  changed_.notify_all();
}

void OpenCamera::runControl(const std::stop_token& end) {
  using Clock = std::chrono::steady_clock;
  auto nextTick = Clock::now() + kTick;
  std::unique_lock lock(mutex_);
  while (!end.stop_requested()) {
    if (changed_.wait_until(lock, end, nextTick, [this] { return !jobs_.empty(); })) {
      const Job job = std::move(jobs_.front());
      jobs_.pop_front();
      lock.unlock();
      runJob(job);
      lock.lock();
    }
    if (Clock::now() < nextTick || end.stop_requested()) continue;
    lock.unlock();
    observe();
    reports_.changed();
    reports_.tick();
    lock.lock();
    nextTick = Clock::now() + kTick;
  }
}

void OpenCamera::runJob(const Job& job) {
  Outcome outcome;
  try {
    job.run(camera_);
  } catch (...) {
    outcome = currentFailure();
  }
  observe();
  reports_.changed();
  if (job.done) job.done(outcome);
}

void OpenCamera::observe() {
  CameraStatus now;
  std::error_code ignored;  // what cannot be read is left out; an unplugged camera is noticed
                            // by those who watch the bus and who read frames
  settings_.refresh();
  if (camera_.control(control::kTemperature) != nullptr) {
    const double celsius = camera_.get(control::kTemperature, ignored).degrees;
    if (!ignored) now.temperature = celsius;
  }
  if (camera_.info().hasCooler == Orvik_TRUE) {
    try {
      now.cooling = cooler_.look();
    } catch (const std::exception& error) {
      now.problem = error.what();
    }
  }
  const Orvik_DARK_INFO dark = camera_.dark().info(ignored);
  now.hasDark = dark.hasDark == Orvik_TRUE;
  now.usesDark = dark.inUse == Orvik_TRUE;
  const Orvik_HOT_PIXEL_INFO hot = camera_.hotPixels().info(ignored);
  now.usesHotPixels = hot.isOn == Orvik_TRUE;
  now.hotPixels = hot.onSensor;

  const std::scoped_lock lock(mutex_);
  observed_ = std::move(now);
}

void OpenCamera::fill(CameraStatus& status) const {
  {
    const std::scoped_lock lock(mutex_);
    status.problem = observed_.problem.empty() ? liveProblem_ : observed_.problem;
    status.temperature = observed_.temperature;
    status.cooling = observed_.cooling;
    status.hasDark = observed_.hasDark;
    status.usesDark = observed_.usesDark;
    status.usesHotPixels = observed_.usesHotPixels;
    status.hotPixels = observed_.hotPixels;
  }
  status.guideLines = guidePort_.linesOn();
  status.controls = settings_.controls();
  status.format = settings_.format();
  status.region = imaging::regionOf(status.format);
  status.activity = engine_.activity();
  status.capture = engine_.captureText();
  status.frameRate = engine_.frameRate();
  status.lost = engine_.lost();
}

bool OpenCamera::isAtWork() const {
  if (engine_.activity() == Activity::kCapture) return true;
  const std::scoped_lock lock(mutex_);
  return observed_.cooling && observed_.cooling->isOn;
}

}  // namespace orvik::server
