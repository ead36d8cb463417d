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

/// How data reaches a transfer.
enum class TransferMode : std::uint8_t {
  kBuffered,  ///< through memory of the transfer's own
  kDirect,    ///< into and out of the caller's memory
};

/// Bytes an endpoint moves in one service interval:
/// (wMaxPacketSize & 0x7FF) x (((wMaxPacketSize >> 11) & 3) + 1), with a companion x (bMaxBurst +
/// 1), and for an isochronous one also x ((companion bmAttributes & 3) + 1).
std::uint32_t effectivePacketBytes(const descriptors::Endpoint& endpoint);

/// The limit given to the host for a control transfer with this `timeoutMs`. The protocol counts
/// whole seconds: 1 to 999 ms become 1 s, longer times lose their fraction, 0 stays none.
std::chrono::milliseconds hostTimeout(std::uint32_t timeoutMs);

/// A pipe of an open device. Made by CUsbDevice.
///
/// Transfers come in two forms: transfer() does one and returns, bounded in time; the triple
/// beginTransfer(), waitForTransfer(), finishTransfer() keeps many in flight. Contexts may be
/// finished in any order, each once. abort(), lastStatus() and bytesTransferred() may be called
/// from any thread at any time; the rest by one thread at a time.
class CCyUSBEndPoint {
 public:
  CCyUSBEndPoint(std::shared_ptr<seam::Port> port, const descriptors::Endpoint& descriptor);
  CCyUSBEndPoint(const CCyUSBEndPoint&) = delete;
  CCyUSBEndPoint& operator=(const CCyUSBEndPoint&) = delete;
  /// Contexts still in flight stay valid.
  virtual ~CCyUSBEndPoint() = default;

  /// Starts a transfer on the caller's memory, without a copy. The host holds `buffer.owner` until
  /// the transfer has ended; without an owner the memory must last that long by itself.
  /// @return null when it could not begin: lastStatus() says why, kNoMemory meaning that the system
  ///         takes no further transfer until one has ended.
  virtual std::unique_ptr<TransferContext> beginDirectTransfer(seam::TransferBuffer buffer);

  /// Starts a transfer on a copy of the caller's memory. What is received is copied to `bytes` by
  /// finishTransfer(), and by nothing else: `bytes` must last until then, and no longer if the
  /// context is dropped instead.
  /// @return as for beginDirectTransfer()
  virtual std::unique_ptr<TransferContext> beginBufferedTransfer(std::span<std::uint8_t> bytes);

  /// Starts a transfer in the way of transferMode().
  virtual std::unique_ptr<TransferContext> beginTransfer(seam::TransferBuffer buffer) = 0;

  /// Ends a transfer without waiting, and frees its context.
  /// @param[out] length the bytes moved, also when the transfer failed after some
  /// @return true when the transfer had ended well. One still in flight is cancelled: false.
  virtual bool finishTransfer(std::unique_ptr<TransferContext> context, std::size_t& length);

  /// @return true when the transfer has ended, well or not, within `limit`. Cancels nothing.
  bool waitForTransfer(TransferContext& context, std::chrono::milliseconds limit) const;

  /// One transfer from begin to end. Waits `timeoutMs`; then aborts the endpoint and waits 50 ms
  /// more; then aborts once more and waits 1000 ms at most, after which the transfer is left to
  /// itself and the call fails. Always buffered, so that then nothing of the caller's is touched.
  /// @param[out] length the bytes moved
  bool transfer(std::span<std::uint8_t> bytes, std::size_t& length);

  /// Asks for the end of every transfer in flight here; returns at once. One that begins meanwhile
  /// may be missed.
  bool abort();

  /// Aborts, and waits up to 1000 ms until what was in flight has ended.
  bool settle();

  /// Settles, then clears the endpoint's halt.
  bool resetPipe();

  /// Notes in what portions the caller is going to read: `bytes`, raised to whole packets. Without
  /// effect when maxPacketBytes() is 0.
  void setTransferSize(std::size_t bytes);
  [[nodiscard]] std::size_t transferSize() const { return transferSize_; }

  [[nodiscard]] std::uint32_t maxPacketBytes() const { return maxPacketBytes_; }
  [[nodiscard]] std::uint8_t address() const { return descriptor_.address; }
  [[nodiscard]] const descriptors::Endpoint& descriptor() const { return descriptor_; }
  /// Whether data moves from the device to the host.
  [[nodiscard]] virtual bool isIn() const { return descriptor_.isIn(); }

  [[nodiscard]] TransferMode transferMode() const { return transferMode_; }
  void setTransferMode(TransferMode mode) { transferMode_ = mode; }

  /// Of the last transfer that was finished or could not begin.
  [[nodiscard]] seam::TransferStatus lastStatus() const { return lastStatus_; }
  [[nodiscard]] std::size_t bytesTransferred() const { return bytesTransferred_; }

  /// How long transfer() waits before it aborts, in milliseconds.
  std::uint32_t timeoutMs = 10000;

 protected:
  [[nodiscard]] seam::Port& port() const { return *port_; }

 private:
  /// Puts a transfer in flight.
  /// @param[out] status why not
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

/// The control endpoint. Callers set the fields of the request, then call transfer(); from the
/// first field to the end of the transfer they hold a lock of their own.
class CCyControlEndPoint final : public CCyUSBEndPoint {
 public:
  static constexpr std::uint8_t kTargetDevice = 0;
  static constexpr std::uint8_t kTargetInterface = 1;
  static constexpr std::uint8_t kRequestStandard = 0;
  static constexpr std::uint8_t kRequestVendor = 2;
  static constexpr std::uint8_t kDirectionOut = 0;  ///< host to device
  static constexpr std::uint8_t kDirectionIn = 1;

  CCyControlEndPoint(std::shared_ptr<seam::Port> port, std::uint8_t maxPacketSize);
  /// For a control endpoint other than 0, which a configuration may hold. It is never used.
  CCyControlEndPoint(std::shared_ptr<seam::Port> port, const descriptors::Endpoint& descriptor);

  /// Always buffered: a caller's stack variable is safe even when the transfer is abandoned.
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

/// What bulk and interrupt endpoints have in common.
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

/// Single interrupt transfers. They go through the host's bulk transfers: the kernel looks at the
/// endpoint's type and makes interrupt transfers of them.
class CCyInterruptEndPoint final : public DataEndPoint {
 public:
  using DataEndPoint::DataEndPoint;
};

/// Known and counted, but no camera has one and the host offers no isochronous transfers: none can
/// begin here (kError).
class CCyIsocEndPoint final : public CCyUSBEndPoint {
 public:
  using CCyUSBEndPoint::CCyUSBEndPoint;
  std::unique_ptr<TransferContext> beginTransfer(seam::TransferBuffer buffer) override;

 private:
  std::shared_ptr<seam::Transfer> submit(seam::TransferBuffer buffer,
                                         seam::TransferStatus& status) override;
};

/// The endpoint object for a descriptor, chosen by its type.
std::unique_ptr<CCyUSBEndPoint> makeEndpoint(const std::shared_ptr<seam::Port>& port,
                                             const descriptors::Endpoint& descriptor);

}  // namespace orvik
