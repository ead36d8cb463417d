// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "seam/usb_host.h"
#include "usb/descriptors.h"
#include "usb/transfer_context.h"

namespace orvik {

/// The memory that a transfer uses.
enum class TransferMode : std::uint8_t {
  kBuffered,  ///< a copy, which belongs to the transfer
  kDirect,    ///< the caller's memory
};

/// Bytes that an endpoint transfers in one service interval:
/// (wMaxPacketSize & 0x7FF) x (((wMaxPacketSize >> 11) & 3) + 1), with a companion x (bMaxBurst +
/// 1), and for an isochronous one also x ((companion bmAttributes & 3) + 1).
std::uint32_t effectivePacketBytes(const descriptors::Endpoint& endpoint);

/// The timeout given to the host for a control transfer with this `timeoutMs`. The protocol uses
/// whole seconds: 1 to 999 ms become 1 s, longer times are truncated, 0 means none.
std::chrono::milliseconds hostTimeout(std::uint32_t timeoutMs);

/// An endpoint of an open device. Made by CUsbDevice.
///
/// There are two ways of transfer: transfer() does one and returns, with a timeout;
/// beginTransfer(), waitForTransfer() and finishTransfer() keep many in flight. Contexts may be
/// finished in any order, each once. abort(), lastStatus() and bytesTransferred() may be called
/// from any thread at any time; the rest by one thread at a time.
class CCyUSBEndPoint {
 public:
  CCyUSBEndPoint(std::shared_ptr<seam::Port> port, const descriptors::Endpoint& descriptor);
  CCyUSBEndPoint(const CCyUSBEndPoint&) = delete;
  CCyUSBEndPoint& operator=(const CCyUSBEndPoint&) = delete;
  /// Contexts that are still in flight stay valid.
  virtual ~CCyUSBEndPoint() = default;

  /// Starts a transfer on the caller's memory, without a copy. The host holds `buffer.owner` until
  /// the transfer has ended; without an owner the caller must keep the memory for that long.
  /// @return null when it could not be submitted: lastStatus() says why. kNoMemory means that the
  ///         system accepts no further transfer until one has ended.
  virtual std::unique_ptr<TransferContext> beginDirectTransfer(seam::TransferBuffer buffer);

  /// Starts a transfer on a copy of the caller's memory. Only finishTransfer() copies received data
  /// to `bytes`, which must exist until then, or until the context is destroyed instead.
  /// @return as for beginDirectTransfer()
  virtual std::unique_ptr<TransferContext> beginBufferedTransfer(std::span<std::uint8_t> bytes);

  /// Starts a transfer according to transferMode().
  virtual std::unique_ptr<TransferContext> beginTransfer(seam::TransferBuffer buffer) = 0;

  /// Ends a transfer without waiting, and frees its context.
  /// @param[out] length bytes transferred, also if the transfer failed
  /// @return true when the transfer had succeeded. One that is still in flight is cancelled: false.
  virtual bool finishTransfer(std::unique_ptr<TransferContext> context, std::size_t& length);

  /// @return true when the transfer has ended within `timeout`, successfully or not. Cancels
  ///   nothing.
  bool waitForTransfer(TransferContext& context, std::chrono::milliseconds timeout) const;

  /// Does one complete transfer. Waits `timeoutMs`; then aborts the endpoint and waits 50 ms; then
  /// aborts again and waits at most 1000 ms, after which the transfer is abandoned and the call
  /// fails. Always buffered, so that an abandoned transfer does not use the caller's memory.
  /// @param[out] length bytes transferred
  bool transfer(std::span<std::uint8_t> bytes, std::size_t& length);

  /// Cancels every transfer in flight on this endpoint; returns at once. A transfer that begins
  /// meanwhile may be missed.
  bool abort();

  /// Aborts, and waits up to 1000 ms until no transfer is in flight.
  bool settle();

  /// Settles, then clears the endpoint's halt.
  bool resetPipe();

  /// Sets the size of the transfers that the caller will make: `bytes`, rounded up to whole
  /// packets. Without effect when maxPacketBytes() is 0.
  void setTransferSize(std::size_t bytes);
  [[nodiscard]] std::size_t transferSize() const { return transferSize_; }

  [[nodiscard]] std::uint32_t maxPacketBytes() const { return maxPacketBytes_; }
  [[nodiscard]] std::uint8_t address() const { return descriptor_.address; }
  [[nodiscard]] const descriptors::Endpoint& descriptor() const { return descriptor_; }
  /// Whether data moves from the device to the host.
  [[nodiscard]] virtual bool isIn() const { return descriptor_.isIn(); }

  [[nodiscard]] TransferMode transferMode() const { return transferMode_; }
  void setTransferMode(TransferMode mode) { transferMode_ = mode; }

  /// The status of the last transfer that was finished or could not be submitted.
  [[nodiscard]] seam::TransferStatus lastStatus() const { return lastStatus_; }
  [[nodiscard]] std::size_t bytesTransferred() const { return bytesTransferred_; }

  /// How long transfer() waits before it aborts, in milliseconds.
  std::uint32_t timeoutMs = 10000;

 protected:
  [[nodiscard]] seam::Port& port() const { return *port_; }

 private:
  /// Submits a transfer. @return null when that fails.
  /// @param[out] status the reason
  virtual std::shared_ptr<seam::Transfer> submit(seam::TransferBuffer buffer,
                                                 seam::TransferStatus& status) = 0;
  std::unique_ptr<TransferContext> begin(seam::TransferBuffer buffer,
                                         std::shared_ptr<const std::uint8_t[]> bounce,
                                         std::span<std::uint8_t> callers);
  bool waitOrAbort(TransferContext& context);

  const std::shared_ptr<seam::Port> port_;
  const descriptors::Endpoint descriptor_;
  const std::uint32_t maxPacketBytes_;
  const std::shared_ptr<BegunTransfers> begun_ = std::make_shared<BegunTransfers>();
  TransferMode transferMode_ = TransferMode::kDirect;
  std::size_t transferSize_ = 0;
  std::atomic<seam::TransferStatus> lastStatus_{seam::TransferStatus::kOk};
  std::atomic<std::size_t> bytesTransferred_{0};
};

/// The control endpoint. Callers set the fields of the request, then call transfer(), and hold a
/// lock of their own from the first field to the end of the transfer.
class CCyControlEndPoint final : public CCyUSBEndPoint {
 public:
  static constexpr std::uint8_t kTargetDevice = 0;
  static constexpr std::uint8_t kTargetInterface = 1;
  static constexpr std::uint8_t kRequestStandard = 0;
  static constexpr std::uint8_t kRequestVendor = 2;
  static constexpr std::uint8_t kDirectionOut = 0;  ///< host to device
  static constexpr std::uint8_t kDirectionIn = 1;

  CCyControlEndPoint(std::shared_ptr<seam::Port> port, std::uint8_t maxPacketSize);
  /// For a control endpoint other than 0, which a configuration may contain. It is never used.
  CCyControlEndPoint(std::shared_ptr<seam::Port> port, const descriptors::Endpoint& descriptor);

  /// Always buffered, so that a caller's stack variable is safe even if the transfer is abandoned.
  std::unique_ptr<TransferContext> beginTransfer(seam::TransferBuffer buffer) override;
  [[nodiscard]] bool isIn() const override { return direction != kDirectionOut; }

  std::uint8_t target = kTargetDevice;        ///< recipient, 0 to 31
  std::uint8_t requestType = kRequestVendor;  ///< 0 to 3
  std::uint8_t direction = kDirectionOut;
  std::uint8_t requestCode = 0;
  std::uint16_t value = 0;
  std::uint16_t index = 0;

 private:
  std::shared_ptr<seam::Transfer> submit(seam::TransferBuffer buffer,
                                         seam::TransferStatus& status) override;
};

/// The common part of bulk and interrupt endpoints.
class DataEndPoint : public CCyUSBEndPoint {
 public:
  using CCyUSBEndPoint::CCyUSBEndPoint;
  std::unique_ptr<TransferContext> beginTransfer(seam::TransferBuffer buffer) override;

 private:
  std::shared_ptr<seam::Transfer> submit(seam::TransferBuffer buffer,
                                         seam::TransferStatus& status) override;
};

class CCyBulkEndPoint final : public DataEndPoint {
 public:
  using DataEndPoint::DataEndPoint;
};

/// Single interrupt transfers. They use the bulk transfers of the host: the kernel makes interrupt
/// transfers of them, according to the type of the endpoint.
class CCyInterruptEndPoint final : public DataEndPoint {
 public:
  using DataEndPoint::DataEndPoint;
};

/// Listed, but without transfers: no camera has one and the host offers no isochronous transfers,
/// so every submission fails (kError).
class CCyIsocEndPoint final : public CCyUSBEndPoint {
 public:
  using CCyUSBEndPoint::CCyUSBEndPoint;
  std::unique_ptr<TransferContext> beginTransfer(seam::TransferBuffer buffer) override;

 private:
  std::shared_ptr<seam::Transfer> submit(seam::TransferBuffer buffer,
                                         seam::TransferStatus& status) override;
};

/// Makes the endpoint object for a descriptor, according to its type.
std::unique_ptr<CCyUSBEndPoint> makeEndpoint(const std::shared_ptr<seam::Port>& port,
                                             const descriptors::Endpoint& descriptor);

}  // namespace orvik
