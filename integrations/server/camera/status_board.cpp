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
  changed_.tell();
}

void StatusBoard::note(std::string who, std::string text) {
  change([&](CameraStatus& status) {
    if (status.events.size() == kEvents) status.events.erase(status.events.begin());
    status.events.push_back(
        {++events_, std::chrono::system_clock::now(), std::move(who), std::move(text)});
  });
}

}  // namespace orvik::server
