// SPDX-License-Identifier: MIT
#include "integrations/server/camera/lent_camera.h"

#include <algorithm>
#include <utility>

namespace orvik::server {
namespace {

constexpr std::size_t kTemperatures = 900;
constexpr std::chrono::seconds kTemperatureStep{2};

Failure notOpen() {
  return {Failure::Kind::kNotOpen, Orvik_ERROR_NO_CAMERA_OBJECT, "The camera is not open."};
}

void tell(const Done& done, const Outcome& outcome) {
  if (done) done(outcome);
}

}  // namespace

const Control* ServedCamera::Description::control(Orvik_CONTROL_TYPE type) const {
  const auto found =
      std::ranges::find_if(controls, [&](const Control& one) { return one.type() == type; });
  return found == controls.end() ? nullptr : &*found;
}

LentCamera::LentCamera(CameraIdentity identity, OnFleetThread onFleetThread)
    : onFleetThread_(std::move(onFleetThread)), identity_(std::move(identity)) {}

void LentCamera::arrived(const Device& device) {
  {
    const std::scoped_lock lock(mutex_);
    identity_.port = device.port;
    device_ = device.identity;
    if (link_ != Link::kAbsent) return;
    link_ = Link::kClosed;
  }
  showStatus();
  note("", "plugged in");
}

void LentCamera::left() {
  closeNow(Link::kAbsent);
  note("", "unplugged");
}

void LentCamera::shutDown() { closeNow(Link::kAbsent); }

CameraIdentity LentCamera::identity() const {
  const std::scoped_lock lock(mutex_);
  return identity_;
}

std::shared_ptr<const ServedCamera::Description> LentCamera::description() const {
  const std::scoped_lock lock(mutex_);
  return description_;
}

void LentCamera::open(User user, Done done) {
  bool isOpen = false;
  bool isFirst = false;
  {
    const std::scoped_lock lock(mutex_);
    isOpen = link_ == Link::kOpen;
    if (link_ != Link::kAbsent) users_.insert(user);
    if (link_ == Link::kClosed || link_ == Link::kOpening) {
      isFirst = std::exchange(link_, Link::kOpening) == Link::kClosed;
      waiting_.push_back(std::exchange(done, nullptr));
    }
  }
  if (isFirst) {
    showStatus();
    onFleetThread_([self = shared_from_this()] { self->openNow(); });
  }
  if (isOpen) return tell(done, {});
  tell(done, Failure{Failure::Kind::kNotOpen, Orvik_ERROR_NO_DEVICE, "The camera is unplugged."});
}

void LentCamera::close(User user, Done done) {
  {
    const std::scoped_lock lock(mutex_);
    users_.erase(user);
  }
  onFleetThread_([self = shared_from_this(), done = std::move(done)] {
    self->closeIfUnused();
    tell(done, {});
  });
}

bool LentCamera::isOpenFor(User user) const {
  const std::scoped_lock lock(mutex_);
  return link_ == Link::kOpen && users_.contains(user);
}

void LentCamera::openNow() {
  std::string device;
  {
    const std::scoped_lock lock(mutex_);
    if (link_ != Link::kOpening) return;
    device = device_;
  }
  std::unique_ptr<OpenCamera> opened;
  Outcome outcome;
  try {
    const auto onFleet = [weak = weak_from_this(), this](void (LentCamera::*function)()) {
      onFleetThread_([weak, function] {
        if (const auto self = weak.lock()) ((*self).*function)();
      });
    };
    opened = std::make_unique<OpenCamera>(
        device, audience_,
        OpenCamera::Reports{.changed = [this] { showStatus(); },
                            .unplugged = [onFleet] { onFleet(&LentCamera::lost); },
                            .tick =
                                [this, onFleet] {
                                  tick();
                                  onFleet(&LentCamera::closeIfUnused);
                                }});
  } catch (...) {
    outcome = currentFailure();
  }
  std::vector<Done> waiting;
  {
    const std::scoped_lock lock(mutex_);
    waiting = std::exchange(waiting_, {});
    link_ = outcome ? Link::kClosed : Link::kOpen;
    if (outcome) {
      users_.clear();
    } else {
      const Camera& camera = opened->camera();
      const auto controls = camera.controls();
      description_ = std::make_shared<const Description>(
          Description{camera.info(), {controls.begin(), controls.end()}});
      opened->engine().wantLive(liveWanted_);
      open_ = std::move(opened);
    }
  }
  board_.change([&](CameraStatus& status) { status.problem = outcome ? outcome->message : ""; });
  showStatus();
  for (const Done& done : waiting) tell(done, outcome);
  closeIfUnused();
}

void LentCamera::closeNow(Link link, bool onlyIfUnused) {
  std::unique_ptr<OpenCamera> closing;
  std::vector<Done> waiting;
  {
    const std::scoped_lock lock(mutex_);
    // Under the same lock: whoever opens it from here on finds it closed.
    if (onlyIfUnused && (open_ == nullptr || !users_.empty() || open_->isAtWork())) return;
    closing = std::move(open_);
    waiting = std::exchange(waiting_, {});
    users_.clear();
    description_.reset();
    link_ = link;
  }
  closing.reset();  // without the lock: what ends now may ask for the status
  board_.change([](CameraStatus& status) {
    status.activity = Activity::kNone;
    status.capture.clear();
    status.guideLines = {};
    status.frameRate = 0;
    status.cooling.reset();
    status.temperature.reset();
  });
  showStatus();
  for (const Done& done : waiting) tell(done, notOpen());
}

void LentCamera::closeIfUnused() { closeNow(Link::kClosed, true); }

void LentCamera::lost() {
  {
    const std::scoped_lock lock(mutex_);
    if (open_ == nullptr) return;
  }
  std::error_code error;
  const std::vector<Device> present = devices(error);
  const std::string port = identity().port;
  const bool isBack = std::ranges::find(present, port, &Device::port) != present.end();
  closeNow(isBack ? Link::kClosed : Link::kAbsent);
  note("", "unplugged");
}

void LentCamera::showStatus() {
  board_.change([this](CameraStatus& status) {
    const std::scoped_lock lock(mutex_);
    status.link = link_;
    if (open_ != nullptr) open_->fill(status);
  });
}

void LentCamera::tick() {
  const auto now = board_.status();
  if (!now->temperature) return;
  const std::scoped_lock lock(mutex_);
  const auto time = std::chrono::system_clock::now();
  if (!temperatures_.empty() && time - temperatures_.back().time < kTemperatureStep) return;
  TemperatureSample sample{.time = time, .celsius = *now->temperature, .target = {}};
  if (now->cooling && now->cooling->isOn) sample.target = now->cooling->target;
  if (now->cooling) sample.power = now->cooling->power;
  if (temperatures_.size() == kTemperatures) temperatures_.pop_front();
  temperatures_.push_back(sample);
}

bool LentCamera::withOpen(const std::function<void(OpenCamera&)>& function) const {
  const std::scoped_lock lock(mutex_);
  if (open_ == nullptr) return false;
  function(*open_);
  return true;
}

void LentCamera::post(std::function<void(OpenCamera&, Camera&)> job, Done done) {
  const bool isOpen = withOpen([&](OpenCamera& open) {
    // The jobs of an open camera end before it is destroyed.
    open.post([&open, job = std::move(job)](Camera& camera) { job(open, camera); }, done);
  });
  if (!isOpen) tell(done, notOpen());
}

void LentCamera::control(std::function<void(Camera&)> job, Done done) {
  post([job = std::move(job)](OpenCamera&, Camera& camera) { job(camera); }, std::move(done));
}

void LentCamera::setControl(Orvik_CONTROL_TYPE type, ControlValue value, Done done) {
  post([=](OpenCamera& open, Camera&) { open.settings().setControl(type, value); },
       std::move(done));
}

void LentCamera::setFormat(const imaging::Region& region, int bin, IMG_TYPE type, Done done) {
  post([=](OpenCamera& open, Camera&) { open.settings().setFormat(region, bin, type); },
       std::move(done));
}

void LentCamera::coolTo(int celsius, double degreesPerMinute, Done done) {
  post([=](OpenCamera& open, Camera&) { open.cooler().coolTo(celsius, degreesPerMinute); },
       std::move(done));
}

void LentCamera::warmUp(double degreesPerMinute, Done done) {
  post([=](OpenCamera& open, Camera&) { open.cooler().warmUp(degreesPerMinute); }, std::move(done));
}

void LentCamera::setCooler(std::optional<bool> on, std::optional<int> target, Done done) {
  post([=](OpenCamera& open, Camera&) { open.cooler().set(on, target); }, std::move(done));
}

std::vector<TemperatureSample> LentCamera::temperatures() const {
  const std::scoped_lock lock(mutex_);
  return {temperatures_.begin(), temperatures_.end()};
}

void LentCamera::pulse(GuideD line, std::chrono::milliseconds length, Done done) {
  const bool isOpen =
      withOpen([&](OpenCamera& open) { open.guidePort().pulse(line, length, done); });
  if (!isOpen) return tell(done, notOpen());
  showStatus();
}

void LentCamera::holdLine(GuideD line) {
  withOpen([&](OpenCamera& open) { open.guidePort().hold(line); });
  showStatus();
}

void LentCamera::releaseLine(GuideD line) {
  withOpen([&](OpenCamera& open) { open.guidePort().release(line); });
}

bool LentCamera::tryCapture(Capture capture) {
  bool isBegun = false;
  withOpen([&](OpenCamera& open) { isBegun = open.engine().tryCapture(std::move(capture)); });
  if (isBegun) showStatus();
  return isBegun;
}

void LentCamera::stopCapture() {
  withOpen([&](OpenCamera& open) { open.engine().stopCapture(); });
}

void LentCamera::wantLive(bool wanted) {
  const std::scoped_lock lock(mutex_);
  liveWanted_ = wanted;
  if (open_ != nullptr) open_->engine().wantLive(wanted);
}

}  // namespace orvik::server
