// SPDX-License-Identifier: MIT
#include "models/end_mark_parts.h"
#include "models/models.h"

namespace orvik {
namespace {

/// Like T06, but with nothing to set beside gain, exposure and clock.
constexpr ModelValues kValues = [] {
  ModelValues values = kT06Values;
  values.exposureUs.min = 100;
  values.brightness.reset();
  values.hasBandwidth = false;
  values.hasThermometer = false;
  return values;
}();

}  // namespace

constexpr ModelRow CCameraT08M::kRow = modelRow({
    .name = "Vek T08M",
    .settingsKey = L"SOFTWARE\\T08M",
    .products = {{{identity::PID_T08M}}},
    .sensor = {1280, 1024, 5.2},
    .values = kValues,
});

constexpr EndMarkFacts CCameraT08M::kFacts = {.transferBytes = kSmallTransfer};

}  // namespace orvik
