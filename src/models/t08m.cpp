// SPDX-License-Identifier: MIT
#include "models/end_mark_parts.h"
#include "models/models.h"

namespace orvik {
namespace {

/// Like T06, but only gain, exposure and clock can be set.
constexpr ModelValues kT08MValues = {
    .maxBin = kT06Values.maxBin,
    .gain = kT06Values.gain,
    .exposureUs = {.defaultValue = 33'000, .max = 1'000'000'000, .min = 100},
    .brightness = std::nullopt,
    .usb3 = false,
    .hasThermometer = false,
    .hasHighSpeedMode = true,
    .hasBandwidth = false,
    .highByteFirst = true,
};

}  // namespace

constexpr ModelRow T08M::kRow = modelRow({
    .name = "Vek T08M",
    .settingsName = "T08M",
    .products = {{{identity::PID_T08M}}},
    .sensor = {1280, 1024, 5.2},
    .values = kT08MValues,
});

constexpr EndMarkFacts T08M::kFacts = {.transferBytes = kSmallTransfer};

}  // namespace orvik
