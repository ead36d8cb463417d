// SPDX-License-Identifier: MIT
#include "models/end_mark_parts.h"
#include "models/models.h"

namespace orvik {

constexpr ModelRow T06M_S::kRow = modelRow({
    .name = "Vek T06M-S",
    .settingsName = "T06M-S",
    .products = {{{identity::PID_T06M_S}, {identity::PID_T06M_SC, "Vek T06M-SC"}}},
    .sensor = kSensorT06M,
    .values = kT06Values,
    .overClocks = true,
});

constexpr EndMarkFacts T06M_S::kFacts = {};

}  // namespace orvik
