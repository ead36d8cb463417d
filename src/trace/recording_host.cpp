// SPDX-License-Identifier: MIT
#include "trace/recording_host.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <utility>

#include "trace/journal.h"
#include "trace/words.h"

namespace orvik::trace {
namespace {

using seam::TransferStatus;
using std::chrono::milliseconds;

/// One opening of a device in the journal.
struct Entry {
  Entry(std::shared_ptr<Journal> all, BulkData bulkData)
      : journal(std::move(all)), id(journal->newId()), data(bulkData) {}

  const std::shared_ptr<Journal> journal;
  const std::uint32_t id;
  const BulkData data;
};

/// A transfer that is recorded once: by the first call that finds that it has ended, or when it is
/// destroyed in flight.
template <class Kind>
class RecordedTransfer : public Kind {
 public:
  RecordedTransfer(std::shared_ptr<Entry> entry, std::unique_ptr<Kind> inner)
      : entry_(std::move(entry)), inner_(std::move(inner)) {}

  void cancel() override { inner_->cancel(); }
  bool wait(milliseconds timeout) override {
    if (!inner_->wait(timeout)) return false;
    if (open_.exchange(false)) note({inner_->status(), false}, inner_->actualBytes());
    return true;
  }
  [[nodiscard]] TransferStatus status() const override { return inner_->status(); }
  [[nodiscard]] std::size_t actualBytes() const override { return inner_->actualBytes(); }

 protected:
  Kind& inner() { return *inner_; }
  Entry& entry() { return *entry_; }

  /// Remembers a submission, or records that it failed.
  TransferStatus begun(TransferStatus status) {
    if (status == TransferStatus::kOk) {
      open_ = true;
    } else {
      note({status, true}, 0);
    }
    return status;
  }
  /// To be called by destructors: an abandoned transfer is recorded as well.
  void noteIfDropped() {
    if (open_.exchange(false)) note({TransferStatus::kCancelled, false}, 0);
  }

 private:
  virtual void note(Outcome outcome, std::size_t bytes) = 0;

  const std::shared_ptr<Entry> entry_;
  const std::unique_ptr<Kind> inner_;
  std::atomic<bool> open_{false};
};

class RecordedControl final : public RecordedTransfer<seam::ControlTransfer> {
 public:
  using RecordedTransfer::RecordedTransfer;
  ~RecordedControl() override { noteIfDropped(); }

  TransferStatus submit(const seam::SetupPacket& setup, seam::TransferBuffer buffer,
                        milliseconds timeout) override {
    event_ = {};
    event_.setup = setup;
    event_.length = static_cast<std::uint16_t>(buffer.bytes.size());
    if (!event_.isIn()) event_.data.assign(buffer.bytes.begin(), buffer.bytes.end());
    buffer_ = buffer;
    return begun(inner().submit(setup, std::move(buffer), timeout));
  }

 private:
  void note(Outcome outcome, std::size_t bytes) override {
    event_.outcome = outcome;
    if (event_.isIn()) {
      const auto received = buffer_.bytes.first(std::min(bytes, buffer_.bytes.size()));
      event_.data.assign(received.begin(), received.end());
    }
    entry().journal->control(entry().id, event_);
    buffer_ = {};
  }

  ControlEvent event_;
  seam::TransferBuffer buffer_;
};

class RecordedBulk final : public RecordedTransfer<seam::BulkTransfer> {
 public:
  RecordedBulk(std::shared_ptr<Entry> entry, std::unique_ptr<seam::BulkTransfer> inner,
               std::uint8_t endpoint)
      : RecordedTransfer(std::move(entry), std::move(inner)) {
    event_.endpoint = endpoint;
  }
  ~RecordedBulk() override { noteIfDropped(); }

  TransferStatus submit(seam::TransferBuffer buffer) override {
    event_.length = buffer.bytes.size();
    buffer_ = buffer;
    return begun(inner().submit(std::move(buffer)));
  }

 private:
  void note(Outcome outcome, std::size_t bytes) override {
    event_.outcome = outcome;
    const auto received = buffer_.bytes.first(std::min(bytes, buffer_.bytes.size()));
    entry().journal->bulk(entry().id, event_, received, entry().data == BulkData::kWhole);
    buffer_ = {};
  }

  BulkEvent event_;
  seam::TransferBuffer buffer_;
};

class RecordedPort final : public seam::Port {
 public:
  RecordedPort(std::shared_ptr<Entry> entry, std::unique_ptr<seam::Port> inner)
      : entry_(std::move(entry)), inner_(std::move(inner)) {}
  ~RecordedPort() override { entry_->journal->other("close", entry_->id); }

  [[nodiscard]] seam::Speed speed() const override { return inner_->speed(); }
  bool claimInterface(std::uint8_t number) override {
    const bool ok = inner_->claimInterface(number);
    entry_->journal->claim(entry_->id, number, ok);
    return ok;
  }
  std::unique_ptr<seam::ControlTransfer> newControlTransfer() override {
    return std::make_unique<RecordedControl>(entry_, inner_->newControlTransfer());
  }
  std::unique_ptr<seam::BulkTransfer> newBulkTransfer(std::uint8_t endpoint) override {
    return std::make_unique<RecordedBulk>(entry_, inner_->newBulkTransfer(endpoint), endpoint);
  }
  std::shared_ptr<std::uint8_t[]> allocateDeviceMemory(std::size_t bytes) override {
    return inner_->allocateDeviceMemory(bytes);
  }
  TransferStatus clearHalt(std::uint8_t endpoint) override {
    return noted("clear", inner_->clearHalt(endpoint));
  }
  TransferStatus reset() override { return noted("reset", inner_->reset()); }

 private:
  TransferStatus noted(std::string_view kind, TransferStatus status) {
    entry_->journal->other(kind, entry_->id, std::string(" ").append(wordOf(kStatusWords, status)));
    return status;
  }

  const std::shared_ptr<Entry> entry_;
  const std::unique_ptr<seam::Port> inner_;
};

class RecordingHost final : public seam::Host {
 public:
  RecordingHost(std::shared_ptr<seam::Host> inner, std::shared_ptr<Journal> journal, BulkData data)
      : inner_(std::move(inner)), journal_(std::move(journal)), data_(data) {}

  std::vector<seam::DeviceInfo> devices() override {
    auto list = inner_->devices();
    for (const seam::DeviceInfo& device : list) journal_->device(device);
    return list;
  }

  std::unique_ptr<seam::Port> open(const seam::DeviceInfo& device) override {
    auto port = inner_->open(device);
    auto entry = std::make_shared<Entry>(journal_, data_);
    journal_->open(entry->id, device.location, port.get());
    if (!port) return nullptr;
    return std::make_unique<RecordedPort>(std::move(entry), std::move(port));
  }
  std::optional<std::string> serialNumber(const seam::DeviceInfo& device) override {
    return inner_->serialNumber(device);
  }
  std::shared_ptr<seam::ChangeCount> changes() override { return inner_->changes(); }
  bool waitForChange(std::uint64_t seen, milliseconds timeout) override {
    return inner_->waitForChange(seen, timeout);
  }
  [[nodiscard]] std::string settingsFolder() const override { return inner_->settingsFolder(); }

 private:
  const std::shared_ptr<seam::Host> inner_;
  const std::shared_ptr<Journal> journal_;
  const BulkData data_;
};

/// The journal that the environment requests; null when there is none.
const std::shared_ptr<Journal>& journalOnRequest() {
  static const auto& journal = *new auto([]() -> std::shared_ptr<Journal> {
    const char* const name = secure_getenv("ORVIK_RECORD");
    std::FILE* const file = name == nullptr ? nullptr : std::fopen(name, "we");
    return file == nullptr ? nullptr : std::make_shared<Journal>(file);
  }());
  return journal;
}

}  // namespace

std::shared_ptr<seam::Host> recorded(std::shared_ptr<seam::Host> inner, const std::string& file,
                                     BulkData data) {
  std::FILE* const stream = std::fopen(file.c_str(), "we");
  if (stream == nullptr) return inner;
  return std::make_shared<RecordingHost>(std::move(inner), std::make_shared<Journal>(stream), data);
}

std::shared_ptr<seam::Host> recordedOnRequest(std::shared_ptr<seam::Host> inner) {
  const auto& journal = journalOnRequest();
  if (!journal || !inner) return inner;
  static const bool whole = secure_getenv("ORVIK_RECORD_WHOLE") != nullptr;
  return std::make_shared<RecordingHost>(std::move(inner), journal,
                                         whole ? BulkData::kWhole : BulkData::kEnds);
}

}  // namespace orvik::trace
