// SPDX-License-Identifier: MIT
#include "sim/fault/flight.h"

#include <algorithm>
#include <utility>

namespace orvik::fault {
namespace {

using seam::TransferStatus;
using std::chrono::milliseconds;

/// Longer than any wait, and short enough to be added to a point in time.
constexpr milliseconds kEver = std::chrono::hours(24 * 365);

/// The value of stray bytes.
constexpr std::uint8_t kStray = 0xA5;

ActionFacts factsOf(const std::optional<Strike>& strike) {
  return strike ? actionFacts(strike->action) : ActionFacts{};
}

}  // namespace

Flight::Flight(std::shared_ptr<Faults> faults, std::shared_ptr<seam::Transfer> inner,
               std::uint8_t endpoint)
    : faults_(std::move(faults)), inner_(std::move(inner)), endpoint_(endpoint) {}

TransferStatus Flight::submit(const std::optional<Strike>& strike, seam::TransferBuffer buffer,
                              milliseconds hostLimit, const SubmitInner& submitInner) {
  const Lock lock(mutex_);
  strike_ = strike;
  endAs_.reset();
  if (const auto end = factsOf(strike).endsAs) {
    std::size_t bytes = 0;
    if (strike->action == Action::kLong) {
      bytes = std::min(static_cast<std::size_t>(strike->amount), buffer.bytes.size());
      std::fill_n(buffer.bytes.begin(), bytes, kStray);
    }
    const bool never = *end == TransferStatus::kTimedOut;
    const milliseconds lasts =
        never ? (hostLimit.count() > 0 ? hostLimit : kEver) : milliseconds(0);
    hold(*end, bytes, Clock::now() + lasts);
    return TransferStatus::kOk;
  }
  const TransferStatus begun = submitInner(buffer);
  if (begun == TransferStatus::kOk) {
    buffer_ = std::move(buffer);
    place_ = Place::kBelow;
  }
  return begun;
}

void Flight::hold(TransferStatus status, std::size_t bytes, Clock::time_point due) {
  status_ = status;
  bytes_ = bytes;
  due_ = due;
  place_ = Place::kHeld;
}

void Flight::cancel() {
  const Lock lock(mutex_);
  if (place_ == Place::kNowhere || factsOf(strike_).resistsCancel) return;
  if (place_ == Place::kBelow) return inner_->cancel();
  if (status_ == TransferStatus::kTimedOut && due_ > Clock::now()) {
    status_ = TransferStatus::kCancelled;
  }
  due_ = Clock::now();
  changed_.notify_all();
}

void Flight::end(TransferStatus status) {
  const Lock lock(mutex_);
  if (place_ == Place::kNowhere) return;
  endAs_ = status;
  if (place_ == Place::kBelow) inner_->cancel();
  due_ = Clock::now();
  changed_.notify_all();
}

bool Flight::wait(milliseconds limit) {
  const auto deadline = Clock::now() + std::clamp(limit, milliseconds(0), kEver);
  Lock lock(mutex_);
  while (place_ != Place::kNowhere) {
    if (place_ == Place::kBelow) {
      const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
      lock.unlock();
      const bool ended = inner_->wait(std::max(left, milliseconds(0)));
      lock.lock();
      if (place_ == Place::kBelow) {  // otherwise another waiter was faster
        if (!ended) return false;
        landed();
      }
      continue;
    }
    const auto now = Clock::now();
    if (now >= due_) {
      finish();
    } else if (now >= deadline) {
      return false;
    } else {
      changed_.wait_until(lock, std::min(deadline, due_));
    }
  }
  return true;
}

/// The transfer has completed at the host below: damages its data, and sets when it completes here.
void Flight::landed() {
  TransferStatus status = inner_->status();
  std::size_t bytes = std::min(inner_->actualBytes(), buffer_.bytes.size());
  if (status == TransferStatus::kOk) {
    const bool isBulk = endpoint_ != 0;
    if (isBulk) bytes = faults_->edit(strike_, buffer_.bytes, bytes);
    if (!isBulk && strike_) bytes = strike_->edited(buffer_.bytes, bytes, {});
    status = factsOf(strike_).reportedAs.value_or(status);
  }
  const bool late = factsOf(strike_).isLate && status == TransferStatus::kOk && !endAs_;
  hold(status, bytes, Clock::now() + milliseconds(late ? strike_->amount : 0));
}

void Flight::finish() {
  if (endAs_) {
    status_ = *endAs_;
    bytes_ = 0;
  }
  buffer_ = {};
  place_ = Place::kNowhere;
  changed_.notify_all();
}

TransferStatus Flight::status() const {
  const Lock lock(mutex_);
  return status_;
}

std::size_t Flight::actualBytes() const {
  const Lock lock(mutex_);
  return bytes_;
}

}  // namespace orvik::fault
