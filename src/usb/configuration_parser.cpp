// SPDX-License-Identifier: MIT
#include <algorithm>

#include "usb/descriptor_walk.h"
#include "usb/descriptors.h"

namespace orvik::descriptors {
namespace {

constexpr std::size_t kInterfaceBytes = 9;
constexpr std::size_t kEndpointBytes = 7;
constexpr std::size_t kCompanionBytes = 6;

std::optional<Companion> takeCompanion(DescriptorWalk& walk) {
  const auto descriptor = walk.take(kTypeCompanion, kCompanionBytes);
  if (!descriptor) return std::nullopt;
  const Bytes d = *descriptor;
  return Companion{.maxBurst = d[2], .attributes = d[3], .bytesPerInterval = readU16(d, 4)};
}

/// Parses an endpoint descriptor, and the companion descriptor that follows it if required.
std::optional<Endpoint> parseEndpoint(Bytes d, DescriptorWalk& walk, Companions companions) {
  if (d.size() < kEndpointBytes) return std::nullopt;
  Endpoint endpoint{
      .address = d[2], .attributes = d[3], .maxPacketSize = readU16(d, 4), .interval = d[6]};
  if (companions == Companions::kRequired) {
    endpoint.companion = takeCompanion(walk);
    if (!endpoint.companion) return std::nullopt;
  }
  return endpoint;
}

/// Parses the endpoints of an interface, as many as it announced. Other descriptors between them
/// are skipped, except the descriptor of the next interface: then the announced count was wrong.
std::optional<std::vector<Endpoint>> takeEndpoints(std::size_t count, DescriptorWalk& walk,
                                                   Companions companions) {
  if (count > kMaxDataEndpoints) return std::nullopt;
  std::vector<Endpoint> endpoints;
  int skips = 0;
  while (endpoints.size() < count) {
    const auto next = walk.take();
    if (!next || (*next)[1] == kTypeInterface) return std::nullopt;
    if ((*next)[1] != kTypeEndpoint) {
      if (++skips > kMaxSkips) return std::nullopt;
      continue;
    }
    const auto endpoint = parseEndpoint(*next, walk, companions);
    if (!endpoint) return std::nullopt;
    endpoints.push_back(*endpoint);
  }
  return endpoints;
}

std::optional<Interface> parseInterface(Bytes d, DescriptorWalk& walk, Companions companions) {
  if (d.size() < kInterfaceBytes) return std::nullopt;
  auto endpoints = takeEndpoints(d[4], walk, companions);
  if (!endpoints) return std::nullopt;
  return Interface{.number = d[2],
                   .alternateSetting = d[3],
                   .interfaceClass = d[5],
                   .subClass = d[6],
                   .protocol = d[7],
                   .stringIndex = d[8],
                   .alternateSettingCount = 0,
                   .endpoints = std::move(*endpoints)};
}

void countAlternateSettings(std::vector<Interface>& interfaces) {
  for (Interface& interface : interfaces) {
    interface.alternateSettingCount = static_cast<std::uint8_t>(
        std::ranges::count(interfaces, interface.number, &Interface::number));
  }
}

}  // namespace

std::optional<Configuration> parseConfiguration(Bytes bytes, Companions companions) {
  if (totalLengthOf(bytes, kTypeConfiguration) != bytes.size()) return std::nullopt;
  DescriptorWalk walk(bytes);
  const auto header = walk.take(kTypeConfiguration, kConfigurationHeaderBytes);
  if (!header) return std::nullopt;
  const Bytes d = *header;
  Configuration configuration{.totalLength = readU16(d, 2),
                              .interfaceCount = d[4],
                              .value = d[5],
                              .stringIndex = d[6],
                              .attributes = d[7],
                              .maxPower = d[8]};
  while (!walk.atEnd() && configuration.interfaces.size() < kMaxInterfaces) {
    const auto next = walk.take();
    if (!next) return std::nullopt;
    if ((*next)[1] != kTypeInterface) continue;
    auto interface = parseInterface(*next, walk, companions);
    if (!interface) return std::nullopt;
    configuration.interfaces.push_back(std::move(*interface));
  }
  countAlternateSettings(configuration.interfaces);
  return configuration;
}

}  // namespace orvik::descriptors
