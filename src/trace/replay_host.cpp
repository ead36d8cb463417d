// SPDX-License-Identifier: MIT
#include "trace/replay_host.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <optional>
#include <utility>

namespace orvik::trace {
namespace {

using seam::TransferStatus;
using std::chrono::milliseconds;

/// The maximum number of departures on the standard error stream, since one causes others.
constexpr int kTold = 20;
constexpr milliseconds kEver = std::chrono::hours(24 * 365);

/// A transfer that either ends as soon as it is submitted, or waits for its cancellation.
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
  bool wait(milliseconds timeout) override {
    std::unique_lock lock(mutex_);
    if (timeout <= milliseconds(0)) return !inFlight_;
    return ended_.wait_for(lock, std::min(timeout, kEver), [this] { return !inFlight_; });
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
  /// @param outcome empty for a transfer without an answer
  TransferStatus end(const std::optional<Outcome>& outcome, std::size_t bytes) {
    const std::lock_guard lock(mutex_);
    bytes_ = bytes;
    // A transfer that was cancelled in the recording waits for its cancellation again.
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

  [[nodiscard]] seam::Speed speed() const override { return play_->speed(); }
  bool claimInterface(std::uint8_t) override { return play_->claim(); }
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

ReplayHost::ReplayHost(Conversation conversation, std::function<void(const std::string&)> listener)
    : devices_(std::move(conversation.devices)),
      departures_(std::make_shared<Departures>(std::move(listener))) {
  auto& openings = conversation.openings;
  while (!openings.empty()) {
    const seam::DeviceLocation location = openings.front().location;
    const auto others =
        std::stable_partition(openings.begin(), openings.end(),
                              [&](const Opening& opening) { return opening.location == location; });
    std::vector<Opening> here(std::make_move_iterator(openings.begin()),
                              std::make_move_iterator(others));
    openings.erase(openings.begin(), others);
    places_.push_back({location, std::make_shared<DevicePlay>(std::move(here), departures_)});
  }
}

ReplayHost::~ReplayHost() = default;

std::vector<seam::DeviceInfo> ReplayHost::devices() { return devices_; }

std::unique_ptr<seam::Port> ReplayHost::open(const seam::DeviceInfo& device) {
  const auto found = std::ranges::find(places_, device.location, &Place::location);
  if (found == places_.end()) {
    departures_->add("A device is opened that was not.");
    return nullptr;
  }
  if (!found->play->open()) return nullptr;
  return std::make_unique<ReplayedPort>(std::make_shared<Play>(found->play));
}

std::shared_ptr<seam::Host> replayOnRequest() {
  const char* const name = secure_getenv("ORVIK_REPLAY");
  if (name == nullptr) return nullptr;
  Conversation conversation;
  std::string trouble = "it cannot be read.";
  if (std::ifstream file(name, std::ios::binary); file) {
    const std::string text((std::istreambuf_iterator<char>(file)), {});
    if (!file.bad()) trouble = readConversation(text, conversation);
  }
  if (!trouble.empty()) {
    std::fprintf(stderr, "orvik: %s: %s\n", name, trouble.c_str());
    conversation = {};
  }
  return std::make_shared<ReplayHost>(
      std::move(conversation), [told = 0](const std::string& departure) mutable {
        if (told == kTold) return;
        std::fprintf(stderr, "orvik: replay: %s\n", departure.c_str());
        if (++told == kTold) std::fputs("orvik: replay: further departures are not told\n", stderr);
      });
}

}  // namespace orvik::trace
