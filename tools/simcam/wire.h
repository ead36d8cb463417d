// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "seam/usb_host.h"

/// USB/IP 1.1.1 as Linux speaks it (Documentation/usb/usbip_protocol.rst). Numbers are big-endian,
/// except in the setup packet, which is as on USB. Only conversion; nothing here does I/O.
namespace orvik::simcam {

inline constexpr std::uint16_t kProtocolVersion = 0x0111;

/// The operations with which a connection may begin, and their replies.
enum class Operation : std::uint16_t {
  kListDevices = 0x8005,
  kListDevicesReply = 0x0005,
  kImport = 0x8003,
  kImportReply = 0x0003,
};

enum class ImportStatus : std::uint32_t { kOk = 0, kNotFound = 1, kBusy = 2, kDeviceError = 3 };

/// Version, code and status: the eight bytes before each operation.
inline constexpr std::size_t kOperationBytes = 8;
/// A bus id, zero-padded: the argument of an import.
inline constexpr std::size_t kBusIdBytes = 32;

struct OperationHeader {
  std::uint16_t version = 0;
  std::uint16_t code = 0;
};
OperationHeader parseOperation(std::span<const std::uint8_t, kOperationBytes> bytes);
/// The text up to the first zero.
std::string parseBusId(std::span<const std::uint8_t, kBusIdBytes> bytes);

/// An exported device, as a list or an import describes it.
struct DeviceRecord {
  std::string busId;  ///< for example "1-1"
  std::uint32_t bus = 0;
  std::uint32_t address = 0;
  seam::Speed speed = seam::Speed::kUnknown;
  std::uint16_t vendorId = 0;
  std::uint16_t productId = 0;
  std::uint16_t release = 0;  ///< bcdDevice
};

std::vector<std::uint8_t> deviceListReply(std::span<const DeviceRecord> devices);
/// @param device part of the reply only if the status is kOk
std::vector<std::uint8_t> importReply(ImportStatus status, const DeviceRecord& device);

/// Bytes of the header with which each message after an import begins.
inline constexpr std::size_t kMessageBytes = 48;

/// A transfer that the importing machine asks for.
struct SubmitMessage {
  std::uint32_t sequence = 0;
  bool toHost = false;
  std::uint8_t endpoint = 0;  ///< without its direction bit
  std::uint32_t length = 0;   ///< of the data
  seam::SetupPacket setup;    ///< endpoint 0 only
};

/// Cancels a transfer.
struct UnlinkMessage {
  std::uint32_t sequence = 0;
  std::uint32_t target = 0;  ///< sequence number of the transfer
};

/// One of the two, or neither if the bytes are no valid message.
struct Message {
  std::optional<SubmitMessage> submit;
  std::optional<UnlinkMessage> unlink;
};
Message parseMessage(std::span<const std::uint8_t, kMessageBytes> bytes);

using Reply = std::array<std::uint8_t, kMessageBytes>;
/// @param moved bytes, which follow the reply when they go to the host
Reply submitReply(std::uint32_t sequence, seam::TransferStatus status, std::size_t moved);
/// @param cancelled whether the transfer was cancelled; otherwise it had completed before
Reply unlinkReply(std::uint32_t sequence, bool cancelled);

}  // namespace orvik::simcam
