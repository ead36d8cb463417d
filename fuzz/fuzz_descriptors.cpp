// SPDX-License-Identifier: MIT
#include <cstdlib>

#include "usb/descriptors.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace orvik::descriptors;  // NOLINT(google-build-using-namespace)
  const std::span<const std::uint8_t> bytes(data, size);
  parseDevice(bytes);
  totalLengthOf(bytes, kTypeConfiguration);
  totalLengthOf(bytes, kTypeBos);
  for (const Companions companions : {Companions::kNone, Companions::kRequired}) {
    const auto configuration = parseConfiguration(bytes, companions);
    if (!configuration) continue;
    if (configuration->totalLength != size) std::abort();
    if (configuration->interfaces.size() > kMaxInterfaces) std::abort();
    for (const Interface& interface : configuration->interfaces) {
      if (interface.alternateSettingCount < 1) std::abort();
      if (interface.endpoints.size() > kMaxDataEndpoints) std::abort();
      for (const Endpoint& endpoint : interface.endpoints) {
        if (endpoint.companion.has_value() != (companions == Companions::kRequired)) std::abort();
      }
    }
  }
  if (const auto bos = parseBos(bytes); bos && bos->totalLength != size) std::abort();
  listsLanguage(bytes, kEnglishUs);
  parseString(bytes);
  return 0;
}
