// SPDX-License-Identifier: MIT
#include "sim/fault/port.h"

#include <utility>

#include "sim/fault/flight.h"

namespace orvik::fault {
namespace {

using seam::TransferStatus;
using std::chrono::milliseconds;

/// A control or bulk transfer. What they have in common is in Flight.
template <class Kind>
class FaultyTransfer : public Kind {
 public:
  FaultyTransfer(std::shared_ptr<Faults> faults, std::shared_ptr<Opening> opening,
                 std::shared_ptr<Kind> inner, std::uint8_t endpoint)
      : faults_(std::move(faults)),
        opening_(std::move(opening)),
        inner_(std::move(inner)),
        flight_(std::make_shared<Flight>(faults_, inner_, endpoint)) {
    faults_->add(flight_);
  }
  ~FaultyTransfer() override { flight_->cancel(); }

  void cancel() override { flight_->cancel(); }
  bool wait(milliseconds limit) override { return flight_->wait(limit); }
  [[nodiscard]] TransferStatus status() const override { return flight_->status(); }
  [[nodiscard]] std::size_t actualBytes() const override { return flight_->actualBytes(); }

 protected:
  TransferStatus begin(std::optional<Strike> strike, seam::TransferBuffer buffer,
                       milliseconds hostLimit, const Flight::SubmitInner& submitInner) {
    if (isGone()) return TransferStatus::kNoDevice;
    if (strike && strike->action == Action::kRefuse) return TransferStatus::kNoMemory;
    const TransferStatus begun = flight_->submit(strike, std::move(buffer), hostLimit, submitInner);
    // The device may have been unplugged since the check, before it knew of this transfer.
    if (begun == TransferStatus::kOk && isGone()) flight_->end(TransferStatus::kNoDevice);
    return begun;
  }

  [[nodiscard]] bool isGone() const { return inner_ == nullptr || opening_->isGone(); }
  Faults& faults() { return *faults_; }
  Kind& inner() { return *inner_; }
  [[nodiscard]] std::uint8_t endpoint() const { return flight_->endpoint(); }

 private:
  const std::shared_ptr<Faults> faults_;
  const std::shared_ptr<Opening> opening_;
  const std::shared_ptr<Kind> inner_;
  const std::shared_ptr<Flight> flight_;
};

class FaultyControl final : public FaultyTransfer<seam::ControlTransfer> {
 public:
  using FaultyTransfer::FaultyTransfer;
  TransferStatus submit(const seam::SetupPacket& setup, seam::TransferBuffer buffer,
                        milliseconds timeout) override {
    if (isGone()) return TransferStatus::kNoDevice;
    return begin(faults().next(Target::kControl, setup.request), std::move(buffer), timeout,
                 [&](seam::TransferBuffer given) {
                   return inner().submit(setup, std::move(given), timeout);
                 });
  }
};

class FaultyBulk final : public FaultyTransfer<seam::BulkTransfer> {
 public:
  using FaultyTransfer::FaultyTransfer;
  TransferStatus submit(seam::TransferBuffer buffer) override {
    if (isGone()) return TransferStatus::kNoDevice;
    std::optional<Strike> strike = faults().next(Target::kBulk);
    if (faults().isHalted(endpoint())) strike = Strike{Action::kStall};
    const bool halts = strike && strike->action == Action::kStall;
    const TransferStatus begun =
        begin(strike, std::move(buffer), milliseconds(0),
              [&](seam::TransferBuffer given) { return inner().submit(std::move(given)); });
    if (halts) faults().halt(endpoint());
    return begun;
  }
};

}  // namespace

FaultyPort::FaultyPort(std::shared_ptr<Faults> faults, std::shared_ptr<Opening> opening)
    : faults_(std::move(faults)), opening_(std::move(opening)) {}

std::shared_ptr<seam::Port> FaultyPort::inner() const {
  return opening_->isGone() ? nullptr : opening_->port();
}

bool FaultyPort::claimInterface(std::uint8_t number) {
  if (faults_->next(Target::kClaim)) return false;
  const auto port = inner();
  return port && port->claimInterface(number);
}

std::unique_ptr<seam::ControlTransfer> FaultyPort::newControlTransfer() {
  const auto port = inner();
  return std::make_unique<FaultyControl>(faults_, opening_,
                                         port ? port->newControlTransfer() : nullptr, 0);
}

std::unique_ptr<seam::BulkTransfer> FaultyPort::newBulkTransfer(std::uint8_t endpoint) {
  const auto port = inner();
  return std::make_unique<FaultyBulk>(faults_, opening_,
                                      port ? port->newBulkTransfer(endpoint) : nullptr, endpoint);
}

std::shared_ptr<std::uint8_t[]> FaultyPort::allocateDeviceMemory(std::size_t bytes) {
  const auto port = inner();
  return port ? port->allocateDeviceMemory(bytes) : nullptr;
}

TransferStatus FaultyPort::clearHalt(std::uint8_t endpoint) {
  const auto port = inner();
  if (!port) return TransferStatus::kNoDevice;
  faults_->clearHalt(endpoint);
  return port->clearHalt(endpoint);
}

TransferStatus FaultyPort::reset() {
  const auto port = inner();
  return port ? port->reset() : TransferStatus::kNoDevice;
}

}  // namespace orvik::fault
