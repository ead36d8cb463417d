// SPDX-License-Identifier: MIT
#include "sim/wire/descriptors.h"

#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>

#include "seam/identity.h"

namespace orvik::sim {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t kDevice = 1;
constexpr std::uint8_t kConfiguration = 2;
constexpr std::uint8_t kString = 3;
constexpr std::uint8_t kInterface = 4;
constexpr std::uint8_t kEndpoint = 5;
constexpr std::uint8_t kBos = 15;
constexpr std::uint8_t kCapability = 16;
constexpr std::uint8_t kCompanion = 48;
constexpr std::uint16_t kEnglish = 0x0409;

constexpr std::uint8_t low(std::size_t value) { return static_cast<std::uint8_t>(value); }
constexpr std::uint8_t high(std::size_t value) { return static_cast<std::uint8_t>(value >> 8U); }

void append(Bytes& bytes, const Bytes& more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
}

/// Puts the length of the whole into bytes 2 and 3, where both collections keep it.
Bytes withTotalLength(Bytes bytes) {
  const std::size_t total = bytes.size();
  bytes[2] = low(total);
  bytes[3] = high(total);
  return bytes;
}

Bytes deviceDescriptor(const Model& model, bool superSpeed) {
  // A USB 3 camera on a USB 2 port reports 2.10, which says that it has a BOS descriptor.
  const std::uint16_t version = superSpeed ? 0x0300 : model.superSpeed() ? 0x0210 : 0x0200;
  // Of endpoint 0: SuperSpeed gives the exponent (512 bytes), high speed the number.
  const std::uint8_t packet = superSpeed ? 9 : 64;
  return {18,
          kDevice,
          low(version),
          high(version),
          0,
          0,
          0,
          packet,
          low(identity::kVendorId),
          high(identity::kVendorId),
          low(model.productId),
          high(model.productId),
          0x00,
          0x01,  // device release 1.00
          1,
          2,
          3,
          1};
}

Bytes configurationDescriptor(const Model& model, bool superSpeed) {
  const std::uint16_t packet = Descriptors::bulkPacketBytes(superSpeed);
  const std::uint8_t power = superSpeed ? 50 : 200;  // 400 mA, in units of 8 and of 2 mA
  Bytes bytes = {9, kConfiguration, 0, 0, 1, 1, 0, 0x80, power};
  append(bytes, {9, kInterface, 0, 0, 1, 0xFF, 0, 0, 0});
  append(bytes, {7, kEndpoint, model.bulkEndpoint(), 2, low(packet), high(packet), 0});
  if (superSpeed) append(bytes, {6, kCompanion, 15, 0, 0, 0});
  return withTotalLength(std::move(bytes));
}

Bytes bosDescriptor() {
  Bytes bytes = {5, kBos, 0, 0, 2};
  append(bytes, {7, kCapability, 2, 0x02, 0, 0, 0});  // USB 2.0 extension: link power management
  // SuperSpeed: full, high and super speed, all functions from high speed on, exit latencies of
  // 10 and 500 microseconds.
  append(bytes, {10, kCapability, 3, 0, 0x0E, 0, 2, 10, 0xF4, 0x01});
  return withTotalLength(std::move(bytes));
}

Bytes stringDescriptor(std::string_view text) {
  Bytes bytes = {low(2 + 2 * text.size()), kString};
  for (const char letter : text) append(bytes, {static_cast<std::uint8_t>(letter), 0});
  return bytes;
}

}  // namespace

std::string serialText(std::uint32_t serial) {
  char text[9];
  std::snprintf(text, sizeof text, "%08X", serial);
  return text;
}

Descriptors::Descriptors(const Model& model, bool superSpeed, std::uint32_t serial)
    : device_(deviceDescriptor(model, superSpeed)),
      configuration_(configurationDescriptor(model, superSpeed)),
      bos_(model.superSpeed() ? bosDescriptor() : Bytes{}) {
  strings_.push_back({4, kString, low(kEnglish), high(kEnglish)});
  strings_.push_back(stringDescriptor("Vek"));
  strings_.push_back(stringDescriptor(model.displayName));
  strings_.push_back(stringDescriptor(serialText(serial)));
}

const std::vector<std::uint8_t>* Descriptors::find(std::uint8_t type, std::uint8_t index,
                                                   std::uint16_t language) const {
  if (type == kString) {
    const bool known = index == 0 || language == kEnglish;
    return known && index < strings_.size() ? &strings_[index] : nullptr;
  }
  if (index != 0) return nullptr;
  switch (type) {
    case kDevice:
      return &device_;
    case kConfiguration:
      return &configuration_;
    case kBos:
      return bos_.empty() ? nullptr : &bos_;
    default:
      return nullptr;
  }
}

}  // namespace orvik::sim
