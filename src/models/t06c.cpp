// SPDX-License-Identifier: MIT
#include "models/end_mark_parts.h"
#include "models/models.h"

namespace orvik {

constexpr ModelRow T06C::kRow = modelRow({
    .name = "Vek T06C",
    .settingsName = "T06C",
    .products = {{{identity::PID_T06C}}},
    .sensor = kSensorT06C,
    .values = kT06Values,
});

constexpr EndMarkFacts T06C::kFacts = {.transferBytes = kSmallTransfer,
                                       .longExposureUs = 4'000'000};

}  // namespace orvik
