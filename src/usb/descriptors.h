// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// Parsing of USB descriptors. Pure functions that accept any bytes; malformed, truncated or
/// inconsistent descriptors are rejected (no value). Multi-byte fields of USB are little-endian.
namespace orvik::descriptors {

inline constexpr std::uint8_t kTypeDevice = 1;
inline constexpr std::uint8_t kTypeConfiguration = 2;
inline constexpr std::uint8_t kTypeString = 3;
inline constexpr std::uint8_t kTypeInterface = 4;
inline constexpr std::uint8_t kTypeEndpoint = 5;
inline constexpr std::uint8_t kTypeBos = 15;
inline constexpr std::uint8_t kTypeDeviceCapability = 16;
inline constexpr std::uint8_t kTypeCompanion = 0x30;

inline constexpr std::size_t kDeviceBytes = 18;
inline constexpr std::size_t kConfigurationHeaderBytes = 9;
inline constexpr std::size_t kBosHeaderBytes = 5;

/// The maximum number of interfaces of a configuration; further ones are not read.
inline constexpr std::size_t kMaxInterfaces = 8;
/// The maximum number of endpoints of one interface, without the control endpoint.
inline constexpr std::size_t kMaxDataEndpoints = 31;
/// The number of other descriptors that are tolerated between the endpoints of one interface.
inline constexpr int kMaxSkips = 11;

inline constexpr std::uint16_t kEnglishUs = 0x0409;

struct Device {
  std::uint16_t bcdUsb = 0;
  std::uint8_t deviceClass = 0;
  std::uint8_t deviceSubClass = 0;
  std::uint8_t deviceProtocol = 0;
  std::uint8_t ep0MaxPacket = 0;  ///< bMaxPacketSize0
  std::uint16_t vendorId = 0;
  std::uint16_t productId = 0;
  std::uint16_t bcdDevice = 0;
  std::uint8_t manufacturerIndex = 0;  ///< string index; 0 for none
  std::uint8_t productIndex = 0;
  std::uint8_t serialIndex = 0;
  std::uint8_t configurationCount = 0;

  /// The major USB version: the high byte of bcdUsb.
  [[nodiscard]] std::uint8_t usbMajor() const { return static_cast<std::uint8_t>(bcdUsb >> 8); }
};

/// SuperSpeed endpoint companion; all zero for USB 2.
struct Companion {
  std::uint8_t maxBurst = 0;
  std::uint8_t attributes = 0;
  std::uint16_t bytesPerInterval = 0;
};

enum class EndpointType : std::uint8_t { kControl, kIsochronous, kBulk, kInterrupt };

struct Endpoint {
  std::uint8_t address = 0;  ///< bit 7: IN
  std::uint8_t attributes = 0;
  std::uint16_t maxPacketSize = 0;  ///< wMaxPacketSize as sent
  std::uint8_t interval = 0;
  std::optional<Companion> companion{};

  [[nodiscard]] EndpointType type() const { return static_cast<EndpointType>(attributes & 3); }
  [[nodiscard]] bool isIn() const { return (address & 0x80) != 0; }
};

struct Interface {
  std::uint8_t number = 0;
  std::uint8_t alternateSetting = 0;
  std::uint8_t interfaceClass = 0;
  std::uint8_t subClass = 0;
  std::uint8_t protocol = 0;
  std::uint8_t stringIndex = 0;
  std::uint8_t alternateSettingCount = 0;  ///< number of settings of this interface number
  std::vector<Endpoint> endpoints{};       ///< at most kMaxDataEndpoints
};

struct Configuration {
  std::uint16_t totalLength = 0;
  std::uint8_t interfaceCount = 0;  ///< according to the header; settings are not counted
  std::uint8_t value = 0;
  std::uint8_t stringIndex = 0;
  std::uint8_t attributes = 0;
  std::uint8_t maxPower = 0;            ///< 2 mA at USB 2, 8 mA at USB 3
  std::vector<Interface> interfaces{};  ///< one for each alternate setting; at most kMaxInterfaces
};

struct Usb20Extension {
  std::uint32_t attributes = 0;
};

struct SuperSpeedCapability {
  std::uint8_t attributes = 0;
  std::uint16_t speedsSupported = 0;
  std::uint8_t functionalitySupport = 0;
  std::uint8_t u1ExitLatency = 0;   ///< microseconds
  std::uint16_t u2ExitLatency = 0;  ///< microseconds
};

struct ContainerId {
  std::array<std::uint8_t, 16> uuid{};
};

/// Binary Object Store. If a capability occurs twice, the last one counts.
struct Bos {
  std::uint16_t totalLength = 0;
  std::uint8_t capabilityCount = 0;
  std::optional<Usb20Extension> usb20Extension{};
  std::optional<SuperSpeedCapability> superSpeed{};
  std::optional<ContainerId> containerId{};
};

/// Whether endpoint descriptors are followed by SuperSpeed companions.
enum class Companions : bool { kNone, kRequired };

std::optional<Device> parseDevice(std::span<const std::uint8_t> bytes);

/// The total length that the header of a configuration or BOS descriptor announces.
/// @return nothing when the bytes are no such header, or the length is less than that of the
///   header.
std::optional<std::uint16_t> totalLengthOf(std::span<const std::uint8_t> header, std::uint8_t type);

/// @param bytes rejected unless there are exactly as many as the header announces
std::optional<Configuration> parseConfiguration(std::span<const std::uint8_t> bytes,
                                                Companions companions);

/// @param bytes the same
std::optional<Bos> parseBos(std::span<const std::uint8_t> bytes);

/// Whether a string descriptor 0 lists the language.
bool listsLanguage(std::span<const std::uint8_t> bytes, std::uint16_t language);

/// The text of a string descriptor, UTF-16LE with at most 126 units.
std::optional<std::u16string> parseString(std::span<const std::uint8_t> bytes);

}  // namespace orvik::descriptors
