// SPDX-License-Identifier: MIT
#include "integrations/server/page/page_camera.h"

#include <algorithm>
#include <utility>

#include "integrations/server/page/messages.h"
#include "integrations/server/page/page_session.h"

namespace orvik::server {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr std::size_t kMostSessions = 64;
constexpr auto kStatusInterval = milliseconds(100);
constexpr auto kCapturesInterval = milliseconds(500);
constexpr auto kTemperatureLook = milliseconds(500);
constexpr auto kReopen = seconds(1);
constexpr auto kClose = seconds(10);

}  // namespace

PageCamera::PageCamera(std::shared_ptr<ServedCamera> camera, std::shared_ptr<CaptureFolder> folder,
                       const GuideWiring& wiring, std::function<void()> wake)
    : camera_(std::move(camera)),
      wiring_(wiring),
      wake_(std::move(wake)),
      live_(std::make_shared<LiveView>(
          [camera = camera_](bool wanted) { camera->wantLive(wanted); })),
      desk_(std::make_unique<CaptureDesk>(camera_, std::move(folder))),
      notes_(std::make_shared<Notes>(camera_)) {
  camera_->listen(live_);
  statusLine_ = camera_->onChange([this] {
    statusChanged_ = true;
    wake_();
  });
  capturesLine_ = desk_->onChange([this] {
    capturesChanged_ = true;
    wake_();
  });
}

bool PageCamera::join(const std::shared_ptr<PageSession>& session) {
  {
    const std::scoped_lock lock(mutex_);
    if (sessions_.size() >= kMostSessions) return false;
    sessions_.push_back(session);
  }
  statusChanged_ = true;  // the number of viewers
  wake_();
  return true;
}

void PageCamera::leave(const PageSession& session) {
  {
    const std::scoped_lock lock(mutex_);
    std::erase_if(sessions_, [&](const auto& one) { return one.get() == &session; });
  }
  statusChanged_ = true;
  wake_();
}

std::string PageCamera::nameFor(const std::string& address) {
  const auto others = sessions();
  for (int number = 1;; ++number) {
    std::string name = number == 1 ? address : address + " (" + std::to_string(number) + ")";
    if (std::none_of(others.begin(), others.end(),
                     [&](const auto& one) { return one->name() == name; })) {
      return name;
    }
  }
}

std::vector<std::shared_ptr<PageSession>> PageCamera::sessions() const {
  const std::scoped_lock lock(mutex_);
  return sessions_;
}

void PageCamera::lookAfterLink(bool isWatched, Clock::time_point now) {
  if (!isWatched) {
    if (!unwatchedSince_) unwatchedSince_ = now;
    if (holdsOpen_ && now - *unwatchedSince_ >= kClose) {
      holdsOpen_ = false;
      camera_->close(User::kPage, nullptr);
    }
    return;
  }
  unwatchedSince_.reset();
  const Link link = camera_->status()->link;
  if (camera_->isOpenFor(User::kPage) || link == Link::kAbsent || link == Link::kOpening) return;
  if (openTried_ && now - *openTried_ < kReopen) return;
  openTried_ = now;
  holdsOpen_ = true;
  // How it went is in the status.
  camera_->open(User::kPage, nullptr);
}

void PageCamera::describe() {
  auto description = camera_->description();
  if (description == description_) return;
  description_ = std::move(description);
  if (!description_) return;
  live_->opened(description_->info);
  ++openings_;
}

void PageCamera::Shared::set(std::string changed, Clock::time_point now) {
  made = now;
  if (changed == text) return;
  text = std::move(changed);
  ++number;
}

void PageCamera::makeMessages(int viewers, Clock::time_point now) {
  if (std::exchange(viewers_, viewers) != viewers) statusChanged_ = true;
  if (now - status_.made >= kStatusInterval && statusChanged_.exchange(false)) {
    status_.set(message::status(*camera_->status(), viewers), now);
  }
  if (now - captures_.made >= kCapturesInterval && capturesChanged_.exchange(false)) {
    captures_.set(message::captures(desk_->state()), now);
  }
  if (now - temperatureLooked_ >= kTemperatureLook) {
    temperatureLooked_ = now;
    const auto samples = camera_->temperatures();
    if (!samples.empty() && samples.back().time != temperatureAt_) {
      temperatureAt_ = samples.back().time;
      temperature_.set(message::temperature(samples.back()), now);
    }
  }
}

void PageCamera::send(PageSession& session) {
  // What has changed meanwhile is sent when the line is free: only the last state counts.
  if (!session.hasRoom()) return;
  auto& sent = session.sent();
  if (sent.opening != openings_) {
    sent.opening = openings_;
    sent.temperature = temperature_.number;
    session.send(message::hello({session.name(), camera_->identity(), description_,
                                 live_->stretch(), camera_->temperatures(), wiring_}));
  }
  const auto sendNew = [&session](const Shared& shared, std::uint64_t& number) {
    if (std::exchange(number, shared.number) != shared.number) session.send(shared.text);
  };
  sendNew(status_, sent.status);
  sendNew(captures_, sent.captures);
  sendNew(temperature_, sent.temperature);
  if (files_ && sent.files != files_) {
    sent.files = files_;
    session.send(*files_);
  }
}

bool PageCamera::tick(Clock::time_point now) {
  const auto watching = sessions();
  lookAfterLink(!watching.empty(), now);
  describe();
  notes_->flush(now, watching.empty());
  if (watching.empty()) return holdsOpen_;
  makeMessages(static_cast<int>(watching.size()), now);
  for (const auto& session : watching) send(*session);
  return true;
}

}  // namespace orvik::server
