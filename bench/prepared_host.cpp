// SPDX-License-Identifier: MIT
#include "bench/prepared_host.h"

#include <algorithm>
#include <cstring>
#include <utility>

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
    if (!read->inFlight) return;
    std::erase(waiting_, read);
    end(*read, TransferStatus::kCancelled);
  }
  read->done.notify_all();
}

bool ReadFeed::wait(Read& read, std::chrono::milliseconds timeout) {
  std::unique_lock lock(mutex_);
  return read.done.wait_for(lock, timeout, [&read] { return !read.inFlight; });
}

void ReadFeed::end(Read& read, TransferStatus status) {
  read.status = status;
  read.inFlight = false;
  read.buffer.owner.reset();
}

bool ReadFeed::hasRoom(std::size_t bytes) const {
  std::size_t room = 0;
  for (const auto& read : waiting_) room += read->buffer.bytes.size();
  return room >= bytes;
}

std::optional<ReadFeed::Clock::time_point> ReadFeed::send(std::span<const std::uint8_t> frame,
                                                          std::chrono::milliseconds timeout) {
  {
    std::unique_lock lock(mutex_);
    if (!submitted_.wait_for(lock, timeout, [&] { return hasRoom(frame.size()); })) return {};
  }
  std::optional<Clock::time_point> last;
  while (!frame.empty()) {
    last = sendRead(frame);
    if (!last) break;
  }
  return last;
}

std::optional<ReadFeed::Clock::time_point> ReadFeed::sendRead(std::span<const std::uint8_t>& rest) {
  std::shared_ptr<Read> read;
  Clock::time_point completed;
  {
    const std::lock_guard lock(mutex_);
    if (waiting_.empty()) return {};
    read = std::move(waiting_.front());
    waiting_.pop_front();
    const std::span<std::uint8_t> room = read->buffer.bytes;
    read->filled = std::min(room.size(), rest.size());
    std::memcpy(room.data(), rest.data(), read->filled);
    rest = rest.subspan(read->filled);
    completed = Clock::now();
    end(*read, TransferStatus::kOk);
  }
  read->done.notify_all();
  return completed;
}

PreparedHost::PreparedHost(const char* model) {
  sim::CameraOptions options;
  options.pace = sim::Pace::kFree;
  host_.plug(*sim::findModel(model), options);
}

std::unique_ptr<seam::Port> PreparedHost::open(const seam::DeviceInfo& device) {
  auto port = host_.open(device);
  if (!port) return nullptr;
  return std::make_unique<PreparedPort>(std::move(port), feed_);
}

}  // namespace orvik::bench
