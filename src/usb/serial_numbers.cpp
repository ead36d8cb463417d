// SPDX-License-Identifier: MIT
#include "usb/serial_numbers.h"

#include <algorithm>

#include "usb/descriptor_reader.h"
#include "usb/descriptors.h"

namespace orvik {
namespace {

constexpr std::chrono::milliseconds kReadBudget{1000};

template <class Text>
std::string printableOf(const Text& text) {
  std::string ascii;
  for (const auto letter : text) {
    ascii += letter >= 0x20 && letter < 0x7F ? static_cast<char>(letter) : '?';
  }
  return ascii;
}

/// @return nothing when the device cannot be opened or does not answer.
std::optional<std::string> readFrom(seam::Host& host, const seam::DeviceInfo& device) {
  const std::shared_ptr<seam::Port> port = host.open(device);
  if (!port) return std::nullopt;
  DescriptorReader reader(port, kReadBudget);
  const auto bytes =
      reader.read(descriptors::kTypeDevice, 0, 0, std::uint16_t{descriptors::kDeviceBytes});
  const auto descriptor = bytes ? descriptors::parseDevice(*bytes) : std::nullopt;
  if (!descriptor) return std::nullopt;
  if (descriptor->serialIndex == 0) return "";
  const auto text = reader.readString(descriptor->serialIndex, descriptors::kEnglishUs);
  if (!text) return std::nullopt;
  return printable(descriptors::parseString(*text).value_or(std::u16string()));
}

}  // namespace

std::string printable(const std::u16string& text) { return printableOf(text); }
std::string printable(const std::string& text) { return printableOf(text); }

std::string SerialNumbers::of(seam::Host& host, const seam::DeviceInfo& device) {
  if (const auto known = host.serialNumber(device)) return printable(*known);
  const std::lock_guard lock(mutex_);
  const auto found = std::ranges::find_if(
      read_, [&](const Read& each) { return each.host == &host && each.device == device; });
  if (found != read_.end()) return found->serialNumber;
  auto text = readFrom(host, device);
  if (!text) return "";
  return read_.emplace_back(Read{&host, device, std::move(*text)}).serialNumber;
}

void SerialNumbers::keepOnly(const seam::Host& host, const std::vector<seam::DeviceInfo>& present) {
  const std::lock_guard lock(mutex_);
  std::erase_if(read_, [&](const Read& each) {
    return each.host != &host || std::ranges::find(present, each.device) == present.end();
  });
}

}  // namespace orvik
