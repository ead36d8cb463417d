// SPDX-License-Identifier: MIT
#include "tools/simcam/wire.h"

#include <algorithm>
#include <cerrno>

namespace orvik::simcam {
namespace {

using seam::Speed;
using seam::TransferStatus;

enum Command : std::uint32_t {
  kSubmit = 1,
  kUnlink = 2,
  kSubmitReturn = 3,
  kUnlinkReturn = 4,
};

constexpr std::size_t kPathBytes = 256;
constexpr std::uint8_t kVendorClass = 0xFF;

std::uint32_t read32(std::span<const std::uint8_t> bytes, std::size_t at) {
  return static_cast<std::uint32_t>(bytes[at]) << 24U |
         static_cast<std::uint32_t>(bytes[at + 1]) << 16U |
         static_cast<std::uint32_t>(bytes[at + 2]) << 8U | bytes[at + 3];
}

std::uint16_t read16(std::span<const std::uint8_t> bytes, std::size_t at) {
  return static_cast<std::uint16_t>(bytes[at] << 8U | bytes[at + 1]);
}

/// The setup packet's own numbers, lowest byte first.
std::uint16_t readUsb16(std::span<const std::uint8_t> bytes, std::size_t at) {
  return static_cast<std::uint16_t>(bytes[at] | bytes[at + 1] << 8U);
}

/// Builds a message byte by byte.
class Writer {
 public:
  Writer& u8(unsigned value) {
    bytes_.push_back(static_cast<std::uint8_t>(value));
    return *this;
  }
  Writer& u16(unsigned value) { return u8(value >> 8U).u8(value); }
  Writer& u32(std::uint32_t value) { return u16(value >> 16U).u16(value & 0xFFFFU); }
  Writer& text(const std::string& text, std::size_t width) {
    for (std::size_t i = 0; i < width; ++i) {
      u8(i + 1 < width && i < text.size() ? static_cast<unsigned char>(text[i]) : 0);
    }
    return *this;
  }
  std::vector<std::uint8_t> take() { return std::move(bytes_); }
  [[nodiscard]] Reply reply() const {
    Reply padded{};
    std::ranges::copy(bytes_, padded.begin());
    return padded;
  }

 private:
  std::vector<std::uint8_t> bytes_;
};

Writer operation(Operation code, ImportStatus status) {
  Writer writer;
  writer.u16(kProtocolVersion)
      .u16(static_cast<std::uint16_t>(code))
      .u32(static_cast<std::uint32_t>(status));
  return writer;
}

/// The kernel's numbers of the speeds.
std::uint32_t number(Speed speed) {
  switch (speed) {
    case Speed::kLow:
      return 1;
    case Speed::kFull:
      return 2;
    case Speed::kHigh:
      return 3;
    case Speed::kSuper:
      return 5;
    case Speed::kUnknown:
      break;
  }
  return 0;
}

/// Every camera has one configuration, with one interface of the vendor-specific class.
void write(Writer& writer, const DeviceRecord& device) {
  writer.text("/sys/devices/orvik/usb" + std::to_string(device.bus) + "/" + device.busId,
              kPathBytes);
  writer.text(device.busId, kBusIdBytes).u32(device.bus).u32(device.address);
  writer.u32(number(device.speed)).u16(device.vendorId).u16(device.productId);
  writer.u16(device.release).u8(0).u8(0).u8(0);  // the interface has the class
  writer.u8(1).u8(1).u8(1);
}

std::uint32_t errorNumber(TransferStatus status) {
  const auto negative = [](int number) { return static_cast<std::uint32_t>(-number); };
  switch (status) {
    case TransferStatus::kOk:
      return 0;
    case TransferStatus::kCancelled:
      return negative(ECONNRESET);
    case TransferStatus::kStalled:
      return negative(EPIPE);
    case TransferStatus::kOverflow:
      return negative(EOVERFLOW);
    case TransferStatus::kNoDevice:
      return negative(ENODEV);
    case TransferStatus::kNoMemory:
      return negative(ENOMEM);
    case TransferStatus::kTimedOut:
    case TransferStatus::kError:
      break;
  }
  return negative(EPROTO);
}

}  // namespace

OperationHeader parseOperation(std::span<const std::uint8_t, kOperationBytes> bytes) {
  return {read16(bytes, 0), read16(bytes, 2)};
}

std::string parseBusId(std::span<const std::uint8_t, kBusIdBytes> bytes) {
  return {bytes.begin(), std::ranges::find(bytes, 0)};
}

std::vector<std::uint8_t> deviceListReply(std::span<const DeviceRecord> devices) {
  Writer writer = operation(Operation::kListDevicesReply, ImportStatus::kOk);
  writer.u32(static_cast<std::uint32_t>(devices.size()));
  for (const DeviceRecord& device : devices) {
    write(writer, device);
    writer.u8(kVendorClass).u8(0).u8(0).u8(0);  // its interface
  }
  return writer.take();
}

std::vector<std::uint8_t> importReply(ImportStatus status, const DeviceRecord& device) {
  Writer writer = operation(Operation::kImportReply, status);
  if (status == ImportStatus::kOk) write(writer, device);
  return writer.take();
}

Message parseMessage(std::span<const std::uint8_t, kMessageBytes> bytes) {
  constexpr std::uint32_t kIn = 1;
  constexpr std::uint32_t kEndpoints = 16;
  const std::uint32_t sequence = read32(bytes, 4);
  switch (read32(bytes, 0)) {
    case kSubmit: {
      const std::uint32_t endpoint = read32(bytes, 16);
      if (endpoint >= kEndpoints) return {};
      SubmitMessage submit;
      submit.sequence = sequence;
      submit.toHost = read32(bytes, 12) == kIn;
      submit.endpoint = static_cast<std::uint8_t>(endpoint);
      submit.length = read32(bytes, 24);
      submit.setup = {bytes[40], bytes[41], readUsb16(bytes, 42), readUsb16(bytes, 44)};
      return {submit, {}};
    }
    case kUnlink:
      return {{}, UnlinkMessage{sequence, read32(bytes, 20)}};
    default:
      return {};
  }
}

Reply submitReply(std::uint32_t sequence, TransferStatus status, std::size_t moved) {
  Writer writer;
  writer.u32(kSubmitReturn).u32(sequence).u32(0).u32(0).u32(0);
  writer.u32(errorNumber(status)).u32(static_cast<std::uint32_t>(moved));
  return writer.reply();
}

Reply unlinkReply(std::uint32_t sequence, bool cancelled) {
  Writer writer;
  writer.u32(kUnlinkReturn).u32(sequence).u32(0).u32(0).u32(0);
  writer.u32(cancelled ? errorNumber(TransferStatus::kCancelled) : 0);
  return writer.reply();
}

}  // namespace orvik::simcam
