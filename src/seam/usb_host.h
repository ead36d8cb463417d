// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "seam/change_count.h"

/// The USB interface of the library: everything that it needs from a USB host, and that a virtual
/// camera has to provide. Implementations: libusb (src/usb), the virtual cameras (sim), and
/// decorators around either, which record, replay or inject faults.
///
/// Nothing here throws. Every function may be called from any thread.
namespace orvik::seam {

enum class Speed : std::uint8_t { kUnknown, kLow, kFull, kHigh, kSuper };

/// How a transfer ended, or why it could not be submitted.
enum class TransferStatus : std::uint8_t {
  kOk,         ///< all data, or after a short packet a part of it, have been transferred
  kCancelled,  ///< ended by cancel()
  kTimedOut,   ///< ended by the timeout of the host
  kStalled,    ///< the device refused (STALL); a bulk pipe then needs clearHalt()
  kOverflow,   ///< the device sent more than was asked for
  kNoDevice,   ///< the device is gone
  kNoMemory,   ///< submit only: the system accepts no further transfer at present
  kError,      ///< anything else
};

/// Where a device is plugged in. The order of the members is the order of enumeration.
struct DeviceLocation {
  std::uint8_t bus = 0;
  std::vector<std::uint8_t> ports;  ///< from the root hub downwards
  std::uint8_t address = 0;

  // NOLINTNEXTLINE(modernize-use-nullptr): clang-tidy 14 takes the comparison for a null pointer
  friend auto operator<=>(const DeviceLocation&, const DeviceLocation&) = default;
};

struct DeviceInfo {
  DeviceLocation location;
  std::uint16_t vendorId = 0;
  std::uint16_t productId = 0;

  friend bool operator==(const DeviceInfo&, const DeviceInfo&) = default;
};

/// The setup packet of a control transfer, without the length, which is that of the data.
struct SetupPacket {
  std::uint8_t requestType = 0;  ///< bit 7: device to host; bits 6..5: type; bits 4..0: recipient
  std::uint8_t request = 0;
  std::uint16_t value = 0;
  std::uint16_t index = 0;
};

/// Memory that a transfer reads or writes. The host holds `owner` until the transfer has completed,
/// so that the device never writes into freed memory, even if the caller stops waiting.
struct TransferBuffer {
  std::span<std::uint8_t> bytes;
  std::shared_ptr<const void> owner;
};

/// One transfer, which can be submitted again after it has completed.
///
/// A transfer that is destroyed in flight is cancelled; the host keeps its resources until it has
/// completed.
class Transfer {
 public:
  Transfer() = default;
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;
  virtual ~Transfer() = default;

  /// Requests cancellation: the transfer completes with kCancelled unless it has just ended
  /// otherwise. Returns at once. Without effect when not in flight.
  virtual void cancel() = 0;

  /// Waits until the transfer has completed, at most `timeout`. With zero it only looks, and must
  /// not wait on a condition variable: a wait until now puts the thread to sleep, too, and costs
  /// tens of microseconds.
  /// @return true when it is no longer in flight.
  virtual bool wait(std::chrono::milliseconds timeout) = 0;

  /// The status of the last completed submission; undefined while in flight.
  [[nodiscard]] virtual TransferStatus status() const = 0;
  /// Bytes transferred by the last completed submission.
  [[nodiscard]] virtual std::size_t actualBytes() const = 0;
};

class ControlTransfer : public Transfer {
 public:
  /// Starts a control transfer; wLength is the size of the buffer (at most 65535).
  /// @param timeout of the host; zero for none
  /// @return kOk when in flight, otherwise the reason why not.
  virtual TransferStatus submit(const SetupPacket& setup, TransferBuffer buffer,
                                std::chrono::milliseconds timeout) = 0;
};

class BulkTransfer : public Transfer {
 public:
  /// Starts a bulk transfer without a timeout.
  /// @return kOk when in flight, kNoMemory when the system accepts no further transfer at present.
  virtual TransferStatus submit(TransferBuffer buffer) = 0;
};

/// An open device. It is closed when this object is destroyed and its last transfer has completed.
class Port {
 public:
  Port() = default;
  Port(const Port&) = delete;
  Port& operator=(const Port&) = delete;
  virtual ~Port() = default;

  [[nodiscard]] virtual Speed speed() const = 0;

  /// Claims an interface for this process; needed before bulk transfers.
  /// @return false when another program has claimed it or the device is gone.
  virtual bool claimInterface(std::uint8_t number) = 0;

  virtual std::unique_ptr<ControlTransfer> newControlTransfer() = 0;
  /// @param endpoint address with its direction bit
  virtual std::unique_ptr<BulkTransfer> newBulkTransfer(std::uint8_t endpoint) = 0;

  /// Memory that transfers of the device can use without a copy in the kernel.
  /// @return null when the system provides none.
  virtual std::shared_ptr<std::uint8_t[]> allocateDeviceMemory(std::size_t bytes) = 0;

  /// Clears the halt of an endpoint and resets its data toggle. It must have no transfers in
  /// flight.
  virtual TransferStatus clearHalt(std::uint8_t endpoint) = 0;
  /// Resets the port of the device. There must be no transfers in flight.
  virtual TransferStatus reset() = 0;
};

class Host {
 public:
  Host() = default;
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;
  virtual ~Host() = default;

  /// The connected devices, in no particular order. Empty if there is no USB.
  virtual std::vector<DeviceInfo> devices() = 0;

  /// @return null when the device is gone, or may not be opened.
  virtual std::unique_ptr<Port> open(const DeviceInfo& device) = 0;

  /// The serial number of a connected device as the system read it when the device was plugged in.
  /// Sends nothing to the device.
  /// @return "" for a device that has none; nothing if the system does not know it.
  virtual std::optional<std::string> serialNumber(const DeviceInfo&) { return std::nullopt; }

  /// How often devices have been plugged or unplugged. Up to date at the time of the call, and
  /// during waitForChange().
  /// @return null for a host without hot plug events.
  virtual std::shared_ptr<ChangeCount> changes() { return nullptr; }

  /// Waits until the count of changes differs from `seen`, at most `timeout`.
  /// @return whether it differs; false at once for a host without hot plug events.
  virtual bool waitForChange(std::uint64_t seen, std::chrono::milliseconds timeout) {
    const auto count = changes();
    return count && count->waitForOther(seen, timeout);
  }

  /// The folder, below that of the user's settings, for the settings of the cameras of this host: a
  /// virtual camera must not change the settings of a real one of its model. "" for real USB.
  [[nodiscard]] virtual std::string settingsFolder() const { return {}; }
};

}  // namespace orvik::seam
