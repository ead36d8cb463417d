// SPDX-License-Identifier: MIT
#include "bench/prepared_host.h"

#include <algorithm>
#include <utility>

#include "bench/host_controller.h"

namespace orvik::bench {
namespace {

using seam::TransferStatus;

class PreparedTransfer final : public seam::BulkTransfer {
 public:
  explicit PreparedTransfer(std::shared_ptr<ReadFeed> feed) : feed_(std::move(feed)) {}
  ~PreparedTransfer() override { feed_->cancel(read_); }
  PreparedTransfer(const PreparedTransfer&) = delete;
  PreparedTransfer& operator=(const PreparedTransfer&) = delete;

  TransferStatus submit(seam::TransferBuffer buffer) override {
    feed_->submit(read_, std::move(buffer));
    return TransferStatus::kOk;
  }
  void cancel() override { feed_->cancel(read_); }
  bool wait(std::chrono::milliseconds timeout) override { return feed_->wait(*read_, timeout); }
  [[nodiscard]] TransferStatus status() const override { return read_->status; }
  [[nodiscard]] std::size_t actualBytes() const override { return read_->filled; }

 private:
  std::shared_ptr<ReadFeed> feed_;
  std::shared_ptr<ReadFeed::Read> read_ = std::make_shared<ReadFeed::Read>();
};

/// The port of the virtual camera, except for bulk reads.
class PreparedPort final : public seam::Port {
 public:
  PreparedPort(std::unique_ptr<seam::Port> inner, std::shared_ptr<ReadFeed> feed)
      : inner_(std::move(inner)), feed_(std::move(feed)) {}

  [[nodiscard]] seam::Speed speed() const override { return inner_->speed(); }
  bool claimInterface(std::uint8_t number) override { return inner_->claimInterface(number); }
  std::unique_ptr<seam::ControlTransfer> newControlTransfer() override {
    return inner_->newControlTransfer();
  }
  std::unique_ptr<seam::BulkTransfer> newBulkTransfer(std::uint8_t) override {
    return std::make_unique<PreparedTransfer>(feed_);
  }
  std::shared_ptr<std::uint8_t[]> allocateDeviceMemory(std::size_t) override { return nullptr; }
  TransferStatus clearHalt(std::uint8_t endpoint) override { return inner_->clearHalt(endpoint); }
  TransferStatus reset() override { return inner_->reset(); }

 private:
  std::unique_ptr<seam::Port> inner_;
  std::shared_ptr<ReadFeed> feed_;
};

}  // namespace

void ReadFeed::submit(const std::shared_ptr<Read>& read, seam::TransferBuffer buffer) {
  {
    const std::lock_guard lock(mutex_);
    read->buffer = std::move(buffer);
    read->filled = 0;
    read->inFlight = true;
    waiting_.push_back(read);
  }
  submitted_.notify_one();
}

void ReadFeed::cancel(const std::shared_ptr<Read>& read) {
  {
    const std::lock_guard lock(mutex_);
    if (std::erase(waiting_, read) == 0) return;
  }
  end(*read, TransferStatus::kCancelled);
}

bool ReadFeed::wait(Read& read, std::chrono::milliseconds timeout) {
  std::unique_lock lock(mutex_);
  if (timeout <= std::chrono::milliseconds::zero()) return !read.inFlight;
  return read.done.wait_for(lock, timeout, [&read] { return !read.inFlight; });
}

/// Takes the oldest read out of the list if `isWanted` says so.
template <class IsWanted>
std::shared_ptr<ReadFeed::Read> ReadFeed::oldest(IsWanted isWanted) {
  const std::lock_guard lock(mutex_);
  if (waiting_.empty() || !isWanted(*waiting_.front())) return nullptr;
  std::shared_ptr<Read> read = std::move(waiting_.front());
  waiting_.pop_front();
  return read;
}

/// Ends a read that is in the list no more.
void ReadFeed::end(Read& read, TransferStatus status) {
  read.buffer.owner.reset();
  {
    const std::lock_guard lock(mutex_);
    read.status = status;
    read.inFlight = false;
  }
  read.done.notify_all();
}

bool ReadFeed::hasRoom(std::size_t bytes) const {
  std::size_t room = 0;
  for (const auto& read : waiting_) room += read->buffer.bytes.size();
  return room >= bytes;
}

bool ReadFeed::fill(std::span<const std::uint8_t> frame, std::chrono::milliseconds timeout) {
  std::unique_lock lock(mutex_);
  if (!submitted_.wait_for(lock, timeout, [&] { return hasRoom(frame.size()); })) return false;
  for (const auto& read : waiting_) {
    if (frame.empty()) break;
    frame = frame.subspan(fill(*read, frame));
  }
  return true;
}

std::size_t ReadFeed::fill(Read& read, std::span<const std::uint8_t> bytes) {
  read.filled = std::min(read.buffer.bytes.size(), bytes.size());
  writeAsController(bytes.first(read.filled), read.buffer.bytes.data());
  return read.filled;
}

std::optional<ReadFeed::Clock::time_point> ReadFeed::complete() {
  std::optional<Clock::time_point> last;
  while (const auto read = oldest([](const Read& each) { return each.filled > 0; })) {
    last = Clock::now();
    end(*read, TransferStatus::kOk);
  }
  return last;
}

std::size_t ReadFeed::send(std::span<const std::uint8_t> bytes) {
  const auto read = oldest([](const Read&) { return true; });
  if (!read) return 0;
  const std::size_t filled = fill(*read, bytes);
  end(*read, TransferStatus::kOk);
  return filled;
}

PreparedHost::PreparedHost(const char* model, int count) {
  sim::CameraOptions options;
  options.pace = sim::Pace::kFree;
  options.sceneKind = sim::SceneKind::kDark;  // no memory for stars
  for (int n = 0; n < count; ++n) {
    host_.plug(*sim::findModel(model), options);
    feeds_.push_back(std::make_shared<ReadFeed>());
  }
}

std::unique_ptr<seam::Port> PreparedHost::open(const seam::DeviceInfo& device) {
  const std::vector<seam::DeviceInfo> all = host_.devices();
  const auto place = static_cast<std::size_t>(std::ranges::find(all, device) - all.begin());
  auto port = host_.open(device);
  if (!port || place >= feeds_.size()) return nullptr;
  return std::make_unique<PreparedPort>(std::move(port), feeds_[place]);
}

}  // namespace orvik::bench
