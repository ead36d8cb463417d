// SPDX-License-Identifier: MIT
#include "integrations/server/camera/status_board.h"

#include <utility>

namespace orvik::server {
namespace {

constexpr std::size_t kEvents = 30;

}  // namespace

std::shared_ptr<const CameraStatus> StatusBoard::status() const {
  const std::scoped_lock lock(mutex_);
  return status_;
}

void StatusBoard::change(const std::function<void(CameraStatus&)>& change) {
  {
    const std::scoped_lock lock(mutex_);
    auto next = std::make_shared<CameraStatus>(*status_);
    change(*next);
    status_ = std::move(next);
  }
  tell();
}

void StatusBoard::note(std::string who, std::string text) {
  change([&](CameraStatus& status) {
    if (status.events.size() == kEvents) status.events.erase(status.events.begin());
    status.events.push_back(
        {++events_, std::chrono::system_clock::now(), std::move(who), std::move(text)});
  });
}

std::shared_ptr<void> StatusBoard::onChange(std::function<void()> function) {
  auto subscriber = std::make_shared<Subscriber>();
  subscriber->function = std::move(function);
  const std::scoped_lock lock(mutex_);
  subscribers_.push_back(subscriber);
  // The board refers to the subscriber weakly, but a call may be going on: wait for its end.
  return {subscriber.get(), [subscriber](void*) {
            const std::scoped_lock ended(subscriber->mutex);
            subscriber->function = nullptr;
          }};
}

void StatusBoard::tell() {
  std::vector<std::shared_ptr<Subscriber>> now;
  {
    const std::scoped_lock lock(mutex_);
    std::erase_if(subscribers_, [&](const std::weak_ptr<Subscriber>& one) {
      now.push_back(one.lock());
      return now.back() == nullptr;
    });
  }
  for (const auto& subscriber : now) {
    if (subscriber == nullptr) continue;
    const std::scoped_lock lock(subscriber->mutex);
    if (subscriber->function) subscriber->function();
  }
}

}  // namespace orvik::server
