// SPDX-License-Identifier: MIT
#include "models/end_mark_parts.h"
#include "models/models.h"

namespace orvik {

constexpr ModelRow CCameraT06M::kRow = modelRow({
    .name = "Vek T06M",
    .settingsKey = L"SOFTWARE\\T06M",
    .products = {{{identity::PID_T06M}}},
    .sensor = kSensorT06M,
    .values = kT06Values,
});

constexpr EndMarkFacts CCameraT06M::kFacts = {.transferBytes = kSmallTransfer};

}  // namespace orvik
