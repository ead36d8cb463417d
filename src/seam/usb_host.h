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

/// The seam at the wire: all that the library asks of a USB host, and all that a virtual camera has
/// to give. Implementations: libusb (src/usb), the virtual cameras (sim), and decorators around
/// either, which record, replay or inject faults.
///
/// Nothing here throws. Every function may be called from any thread.
namespace orvik::seam {

enum class Speed : std::uint8_t { kUnknown, kLow, kFull, kHigh, kSuper };

/// How a transfer ended, or why it could not begin.
enum class TransferStatus : std::uint8_t {
  kOk,         ///< all or, at a short packet, a part of the data has moved
  kCancelled,  ///< ended by cancel()
  kTimedOut,   ///< ended by the host's own time-out
  kStalled,    ///< the device refused (STALL); a bulk pipe then needs clearHalt()
  kOverflow,   ///< the device sent more than was asked for
  kNoDevice,   ///< the device is gone
  kNoMemory,   ///< submit only: the system takes no further transfer at present
  kError,      ///< anything else
};

/// Where a device is plugged. The order of the members is the order of enumeration.
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

/// The eight bytes that open a control transfer, length apart: that is the data's.
struct SetupPacket {
  std::uint8_t requestType = 0;  ///< bit 7: device to host; bits 6..5: type; bits 4..0: recipient
  std::uint8_t request = 0;
  std::uint16_t value = 0;
  std::uint16_t index = 0;
};

/// Memory that a transfer reads or writes. The host holds `owner` until the transfer has completed,
/// so that a caller who gives up waiting can never leave the device writing into freed memory.
struct TransferBuffer {
  std::span<std::uint8_t> bytes;
  std::shared_ptr<const void> owner;
};

/// One transfer, submitted as often as wanted, in flight once at a time.
///
/// A transfer dropped while in flight is cancelled, and lives on inside the host until it has
/// completed.
class Transfer {
 public:
  Transfer() = default;
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;
  virtual ~Transfer() = default;

  /// Asks for the end of the transfer, which then completes with kCancelled unless it just ended
  /// otherwise. Returns at once. Without effect when not in flight.
  virtual void cancel() = 0;

  /// Waits until the transfer has completed, at most `limit` (zero only asks).
  /// @return true when it is not in flight any more.
  virtual bool wait(std::chrono::milliseconds limit) = 0;

  /// Of the last completed submission; meaningless while in flight.
  [[nodiscard]] virtual TransferStatus status() const = 0;
  /// Bytes moved by the last completed submission.
  [[nodiscard]] virtual std::size_t actualBytes() const = 0;
};

class ControlTransfer : public Transfer {
 public:
  /// Starts a control transfer; wLength is the size of the buffer (at most 65535).
  /// @param timeout the host controller's own limit; zero for none
  /// @return kOk when in flight, otherwise why not; then nothing is to be waited for.
  virtual TransferStatus submit(const SetupPacket& setup, TransferBuffer buffer,
                                std::chrono::milliseconds timeout) = 0;
};

class BulkTransfer : public Transfer {
 public:
  /// Starts a bulk transfer without a limit of its own.
  /// @return kOk when in flight, kNoMemory when the system holds as much as it is willing to.
  virtual TransferStatus submit(TransferBuffer buffer) = 0;
};

/// An open device. Closed when the last transfer made by it has completed and it is dropped.
class Port {
 public:
  Port() = default;
  Port(const Port&) = delete;
  Port& operator=(const Port&) = delete;
  virtual ~Port() = default;

  [[nodiscard]] virtual Speed speed() const = 0;

  /// Takes an interface for this process; needed before bulk transfers.
  /// @return false when another program holds it or the device is gone.
  virtual bool claimInterface(std::uint8_t number) = 0;

  virtual std::unique_ptr<ControlTransfer> newControlTransfer() = 0;
  /// @param endpoint address with its direction bit
  virtual std::unique_ptr<BulkTransfer> newBulkTransfer(std::uint8_t endpoint) = 0;

  /// Memory that the device's transfers can use without a copy in the kernel.
  /// @return null where there is none to be had.
  virtual std::shared_ptr<std::uint8_t[]> allocateDeviceMemory(std::size_t bytes) = 0;

  /// Clears the halt of an endpoint and starts its data toggle anew. Nothing may be in flight on
  /// it.
  virtual TransferStatus clearHalt(std::uint8_t endpoint) = 0;
  /// Resets the device's port. Nothing may be in flight.
  virtual TransferStatus reset() = 0;
};

class Host {
 public:
  Host() = default;
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;
  virtual ~Host() = default;

  /// The devices present, in no particular order. Empty where there is no USB.
  virtual std::vector<DeviceInfo> devices() = 0;

  /// @return null when the device is gone, or may not be opened.
  virtual std::unique_ptr<Port> open(const DeviceInfo& device) = 0;

  /// The serial number of a present device as the system remembers it from the moment of plugging,
  /// without a word to the device.
  /// @return "" for a device that has none; nothing where the system does not tell.
  virtual std::optional<std::string> serialNumber(const DeviceInfo&) { return std::nullopt; }

  /// How often devices have come or gone. Up to date at the time of the call, and during
  /// waitForChange().
  /// @return null for a host that is not told.
  virtual std::shared_ptr<ChangeCount> changes() { return nullptr; }

  /// Waits at most `limit` until the count of changes is no longer `seen`.
  /// @return whether it is another one now; false at once for a host that is not told.
  virtual bool waitForChange(std::uint64_t seen, std::chrono::milliseconds limit) {
    const auto count = changes();
    return count && count->waitForOther(seen, limit);
  }

  /// The folder, below that of the user's settings, for settings of this host's cameras: a virtual
  /// camera must not change how a real one of its model comes up. "" for the machine's own bus.
  [[nodiscard]] virtual std::string settingsFolder() const { return {}; }
};

}  // namespace orvik::seam
