// SPDX-License-Identifier: MIT
#include "trace/replay_host.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <map>
#include <optional>
#include <utility>

namespace orvik::trace {
namespace {

using seam::TransferStatus;
using std::chrono::milliseconds;

/// How far ahead a request is looked for that another thread of the driver may have overtaken.
constexpr std::size_t kLookAhead = 64;
constexpr milliseconds kEver = std::chrono::hours(24 * 365);

std::string nameOf(const seam::SetupPacket& setup) {
  char text[64];
  std::snprintf(text, sizeof text, "request %02X %02X, value %04X, index %04X",
                unsigned{setup.requestType}, unsigned{setup.request}, unsigned{setup.value},
                unsigned{setup.index});
  return text;
}

bool isSame(const seam::SetupPacket& a, const seam::SetupPacket& b) {
  return a.requestType == b.requestType && a.request == b.request && a.value == b.value &&
         a.index == b.index;
}

/// An opening while it is played.
class Play {
 public:
  Play(Opening opening, std::shared_ptr<Departures> departures)
      : opening_(std::move(opening)),
        played_(opening_.controls.size(), false),
        departures_(std::move(departures)) {}
  ~Play() {
    for (std::size_t n = 0; n < played_.size(); ++n) {
      if (!played_[n]) tell(opening_.controls[n].line, "left out", opening_.controls[n].setup);
    }
  }
  Play(const Play&) = delete;
  Play& operator=(const Play&) = delete;

  [[nodiscard]] const Opening& opening() const { return opening_; }

  /// @return null when the recording has no such request here.
  const ControlEvent* next(const seam::SetupPacket& setup, std::span<const std::uint8_t> data) {
    const std::lock_guard lock(mutex_);
    while (first_ < played_.size() && played_[first_]) ++first_;
    const std::size_t end = std::min(played_.size(), first_ + kLookAhead);
    for (std::size_t n = first_; n < end; ++n) {
      const ControlEvent& event = opening_.controls[n];
      if (played_[n] || !isSame(event.setup, setup) || event.length != data.size()) continue;
      if (!event.isIn() && !std::ranges::equal(event.data, data)) continue;
      played_[n] = true;
      return &event;
    }
    tell(first_ < played_.size() ? opening_.controls[first_].line : 0, "not recorded", setup);
    return nullptr;
  }

  /// @return null when the recording has no further read of this endpoint.
  const BulkEvent* nextRead(std::uint8_t endpoint) {
    const std::lock_guard lock(mutex_);
    std::size_t& place = reads_[endpoint];
    while (place < opening_.bulks.size()) {
      const BulkEvent& event = opening_.bulks[place++];
      if (event.endpoint == endpoint) return &event;
    }
    return nullptr;
  }

 private:
  void tell(std::size_t line, const char* what, const seam::SetupPacket& setup) {
    const std::string where = line == 0 ? "After the end" : "Line " + std::to_string(line);
    departures_->add(where + ": " + what + ": " + nameOf(setup) + ".");
  }

  const Opening opening_;
  std::mutex mutex_;
  std::size_t first_ = 0;  ///< request that may not have been played yet
  std::vector<bool> played_;
  std::map<std::uint8_t, std::size_t> reads_;
  const std::shared_ptr<Departures> departures_;
};

/// A transfer that has ended when it begins, or waits for its cancellation.
template <class Kind>
class ReplayedTransfer : public Kind {
 public:
  explicit ReplayedTransfer(std::shared_ptr<Play> play) : play_(std::move(play)) {}

  void cancel() override {
    const std::lock_guard lock(mutex_);
    if (!std::exchange(inFlight_, false)) return;
    status_ = TransferStatus::kCancelled;
    ended_.notify_all();
  }
  bool wait(milliseconds limit) override {
    std::unique_lock lock(mutex_);
    return ended_.wait_for(lock, std::clamp(limit, milliseconds(0), kEver),
                           [this] { return !inFlight_; });
  }
  [[nodiscard]] TransferStatus status() const override {
    const std::lock_guard lock(mutex_);
    return status_;
  }
  [[nodiscard]] std::size_t actualBytes() const override {
    const std::lock_guard lock(mutex_);
    return bytes_;
  }

 protected:
  Play& play() { return *play_; }
  /// @param outcome none for a transfer that nobody answers
  TransferStatus end(const std::optional<Outcome>& outcome, std::size_t bytes) {
    const std::lock_guard lock(mutex_);
    bytes_ = bytes;
    // What was cancelled before was waited for then, and is now.
    inFlight_ = !outcome || outcome->status == TransferStatus::kCancelled;
    if (!inFlight_) status_ = outcome->status;
    return outcome && outcome->refused ? outcome->status : TransferStatus::kOk;
  }

 private:
  const std::shared_ptr<Play> play_;
  mutable std::mutex mutex_;
  std::condition_variable ended_;
  bool inFlight_ = false;
  TransferStatus status_ = TransferStatus::kOk;
  std::size_t bytes_ = 0;
};

class ReplayedControl final : public ReplayedTransfer<seam::ControlTransfer> {
 public:
  using ReplayedTransfer::ReplayedTransfer;
  TransferStatus submit(const seam::SetupPacket& setup, seam::TransferBuffer buffer,
                        milliseconds) override {
    const ControlEvent* event = play().next(setup, buffer.bytes);
    if (event == nullptr) return end(Outcome{TransferStatus::kStalled, false}, 0);
    if (event->isIn()) std::ranges::copy(event->data, buffer.bytes.begin());
    return end(event->outcome, event->data.size());
  }
};

class ReplayedBulk final : public ReplayedTransfer<seam::BulkTransfer> {
 public:
  ReplayedBulk(std::shared_ptr<Play> play, std::uint8_t endpoint)
      : ReplayedTransfer(std::move(play)), endpoint_(endpoint) {}
  TransferStatus submit(seam::TransferBuffer buffer) override {
    const BulkEvent* event = play().nextRead(endpoint_);
    if (event == nullptr) return end(std::nullopt, 0);
    const std::size_t bytes = std::min(event->bytes, buffer.bytes.size());
    const auto data = buffer.bytes.first(bytes);
    std::ranges::fill(data, std::uint8_t{0});
    std::copy_n(event->head.begin(), std::min(event->head.size(), bytes), data.begin());
    if (event->tail.size() <= bytes) std::ranges::copy_backward(event->tail, data.end());
    return end(event->outcome, bytes);
  }

 private:
  const std::uint8_t endpoint_;
};

class ReplayedPort final : public seam::Port {
 public:
  explicit ReplayedPort(std::shared_ptr<Play> play) : play_(std::move(play)) {}

  [[nodiscard]] seam::Speed speed() const override { return play_->opening().speed; }
  bool claimInterface(std::uint8_t) override { return play_->opening().claimed; }
  std::unique_ptr<seam::ControlTransfer> newControlTransfer() override {
    return std::make_unique<ReplayedControl>(play_);
  }
  std::unique_ptr<seam::BulkTransfer> newBulkTransfer(std::uint8_t endpoint) override {
    return std::make_unique<ReplayedBulk>(play_, endpoint);
  }
  std::shared_ptr<std::uint8_t[]> allocateDeviceMemory(std::size_t) override { return nullptr; }
  TransferStatus clearHalt(std::uint8_t) override { return TransferStatus::kOk; }
  TransferStatus reset() override { return TransferStatus::kOk; }

 private:
  const std::shared_ptr<Play> play_;
};

}  // namespace

ReplayHost::ReplayHost(Conversation conversation)
    : devices_(std::move(conversation.devices)), ahead_(std::move(conversation.openings)) {}

ReplayHost::~ReplayHost() = default;

std::vector<seam::DeviceInfo> ReplayHost::devices() { return devices_; }

std::unique_ptr<seam::Port> ReplayHost::open(const seam::DeviceInfo& device) {
  const std::lock_guard lock(mutex_);
  const auto found = std::ranges::find(ahead_, device.location, &Opening::location);
  if (found == ahead_.end()) {
    departures_->add("After the end: a device is opened once more.");
    return nullptr;
  }
  Opening opening = std::move(*found);
  ahead_.erase(found);
  if (!opening.opened) return nullptr;
  return std::make_unique<ReplayedPort>(std::make_shared<Play>(std::move(opening), departures_));
}

}  // namespace orvik::trace
