// SPDX-License-Identifier: MIT
#include "models/end_mark_parts.h"
#include "models/models.h"

namespace orvik {

constexpr ModelRow T06M::kRow = modelRow({
    .name = "Vek T06M",
    .settingsName = "T06M",
    .products = {{{identity::PID_T06M}}},
    .sensor = kSensorT06M,
    .values = kT06Values,
});

constexpr EndMarkFacts T06M::kFacts = {.transferBytes = kSmallTransfer};

}  // namespace orvik
