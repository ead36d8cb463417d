// SPDX-License-Identifier: MIT
#include "usb/endpoints.h"

#include <algorithm>

namespace orvik {
namespace {

using seam::TransferStatus;
using std::chrono::milliseconds;

/// Waits for a cancelled transfer to complete, after the first and after the second abort.
constexpr milliseconds kAbortWait{50};
constexpr milliseconds kLastWait{1000};

constexpr std::uint8_t kRequestTypeMask = 3;
constexpr std::uint8_t kTargetMask = 0x1F;

}  // namespace

std::uint32_t effectivePacketBytes(const descriptors::Endpoint& endpoint) {
  const std::uint32_t size = endpoint.maxPacketSize;
  std::uint32_t bytes = (size & 0x7FF) * (((size >> 11) & 3) + 1);
  if (!endpoint.companion) return bytes;
  bytes *= endpoint.companion->maxBurst + 1U;
  if (endpoint.type() == descriptors::EndpointType::kIsochronous) {
    bytes *= (endpoint.companion->attributes & 3U) + 1U;
  }
  return bytes;
}

milliseconds hostTimeout(std::uint32_t timeoutMs) {
  const bool fraction = timeoutMs > 0 && timeoutMs < 1000;
  return std::chrono::seconds(fraction ? 1 : timeoutMs / 1000);
}

CCyUSBEndPoint::CCyUSBEndPoint(std::shared_ptr<seam::Port> port,
                               const descriptors::Endpoint& descriptor)
    : port_(std::move(port)),
      descriptor_(descriptor),
      maxPacketBytes_(effectivePacketBytes(descriptor)) {}

std::unique_ptr<TransferContext> CCyUSBEndPoint::beginDirectTransfer(seam::TransferBuffer buffer) {
  return begin(std::move(buffer), nullptr, {});
}

std::unique_ptr<TransferContext> CCyUSBEndPoint::beginBufferedTransfer(
    std::span<std::uint8_t> bytes) {
  const auto bounce = std::make_shared_for_overwrite<std::uint8_t[]>(bytes.size());
  std::ranges::copy(bytes, bounce.get());
  return begin({{bounce.get(), bytes.size()}, bounce}, isIn() ? bounce : nullptr, bytes);
}

std::unique_ptr<TransferContext> CCyUSBEndPoint::begin(seam::TransferBuffer buffer,
                                                       std::shared_ptr<const std::uint8_t[]> bounce,
                                                       std::span<std::uint8_t> callers) {
  TransferStatus status = TransferStatus::kError;
  auto transfer = submit(std::move(buffer), status);
  if (!transfer) {
    lastStatus_ = status;
    bytesTransferred_ = 0;
    return nullptr;
  }
  return std::make_unique<TransferContext>(begun_, std::move(transfer), std::move(bounce), callers);
}

bool CCyUSBEndPoint::finishTransfer(std::unique_ptr<TransferContext> context, std::size_t& length) {
  length = 0;
  if (!context) return false;
  if (context->inFlight()) {
    lastStatus_ = TransferStatus::kTimedOut;
    bytesTransferred_ = 0;
    return false;
  }
  context->deliver();
  length = context->actualBytes();
  bytesTransferred_ = length;
  lastStatus_ = context->status();
  return context->status() == TransferStatus::kOk;
}

bool CCyUSBEndPoint::waitForTransfer(TransferContext& context, milliseconds timeout) const {
  return context.wait(timeout);
}

bool CCyUSBEndPoint::transfer(std::span<std::uint8_t> bytes, std::size_t& length) {
  length = 0;
  auto context = beginBufferedTransfer(bytes);
  if (!context) return false;
  const bool ended = waitOrAbort(*context);
  return finishTransfer(std::move(context), length) && ended;
}

bool CCyUSBEndPoint::waitOrAbort(TransferContext& context) {
  if (context.wait(milliseconds(timeoutMs))) return true;
  abort();
  if (context.wait(kAbortWait)) return true;
  abort();
  return context.wait(kLastWait);
}

bool CCyUSBEndPoint::abort() {
  begun_->cancelAll();
  return true;
}

bool CCyUSBEndPoint::settle() {
  abort();
  return begun_->waitForAll(kLastWait);
}

bool CCyUSBEndPoint::resetPipe() {
  const TransferStatus status =
      settle() ? port_->clearHalt(descriptor_.address) : TransferStatus::kTimedOut;
  lastStatus_ = status;
  return status == TransferStatus::kOk;
}

void CCyUSBEndPoint::setTransferSize(std::size_t bytes) {
  if (maxPacketBytes_ == 0) return;
  const std::size_t packets = bytes / maxPacketBytes_ + (bytes % maxPacketBytes_ == 0 ? 0 : 1);
  transferSize_ = packets * maxPacketBytes_;
}

CCyControlEndPoint::CCyControlEndPoint(std::shared_ptr<seam::Port> port, std::uint8_t maxPacketSize)
    : CCyControlEndPoint(std::move(port), descriptors::Endpoint{.maxPacketSize = maxPacketSize}) {}

CCyControlEndPoint::CCyControlEndPoint(std::shared_ptr<seam::Port> port,
                                       const descriptors::Endpoint& descriptor)
    : CCyUSBEndPoint(std::move(port), descriptor) {
  setTransferMode(TransferMode::kBuffered);
}

std::unique_ptr<TransferContext> CCyControlEndPoint::beginTransfer(seam::TransferBuffer buffer) {
  return beginBufferedTransfer(buffer.bytes);
}

std::shared_ptr<seam::Transfer> CCyControlEndPoint::submit(seam::TransferBuffer buffer,
                                                           TransferStatus& status) {
  std::shared_ptr<seam::ControlTransfer> transfer = port().newControlTransfer();
  if (!transfer) return nullptr;
  const int requestTypeByte =
      (isIn() ? 0x80 : 0) | (requestType & kRequestTypeMask) << 5 | (target & kTargetMask);
  status = transfer->submit({.requestType = static_cast<std::uint8_t>(requestTypeByte),
                             .request = requestCode,
                             .value = value,
                             .index = index},
                            std::move(buffer), hostTimeout(timeoutMs));
  if (status != TransferStatus::kOk) return nullptr;
  return transfer;
}

std::unique_ptr<TransferContext> DataEndPoint::beginTransfer(seam::TransferBuffer buffer) {
  if (transferMode() == TransferMode::kDirect) return beginDirectTransfer(std::move(buffer));
  return beginBufferedTransfer(buffer.bytes);
}

std::shared_ptr<seam::Transfer> DataEndPoint::submit(seam::TransferBuffer buffer,
                                                     TransferStatus& status) {
  std::shared_ptr<seam::BulkTransfer> transfer = port().newBulkTransfer(address());
  if (!transfer) return nullptr;
  status = transfer->submit(std::move(buffer));
  if (status != TransferStatus::kOk) return nullptr;
  return transfer;
}

std::unique_ptr<TransferContext> CCyIsocEndPoint::beginTransfer(seam::TransferBuffer buffer) {
  return beginDirectTransfer(std::move(buffer));
}

std::shared_ptr<seam::Transfer> CCyIsocEndPoint::submit(seam::TransferBuffer, TransferStatus&) {
  return nullptr;
}

std::unique_ptr<CCyUSBEndPoint> makeEndpoint(const std::shared_ptr<seam::Port>& port,
                                             const descriptors::Endpoint& descriptor) {
  using enum descriptors::EndpointType;
  switch (descriptor.type()) {
    case kControl:
      return std::make_unique<CCyControlEndPoint>(port, descriptor);
    case kIsochronous:
      return std::make_unique<CCyIsocEndPoint>(port, descriptor);
    case kBulk:
      return std::make_unique<CCyBulkEndPoint>(port, descriptor);
    case kInterrupt:
      break;
  }
  return std::make_unique<CCyInterruptEndPoint>(port, descriptor);
}

}  // namespace orvik
