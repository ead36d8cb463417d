// SPDX-License-Identifier: MIT
#include "models/end_mark_parts.h"
#include "models/models.h"

namespace orvik {

constexpr ModelRow T06C_S::kRow = modelRow({
    .name = "Vek T06C-S",
    .settingsName = "T06C-S",
    .products = {{{identity::PID_T06C_S}, {identity::PID_T06C_SC, "Vek T06C-SC"}}},
    .sensor = kSensorT06C,
    .values = kT06Values,
    .overClocks = true,
});

constexpr EndMarkFacts T06C_S::kFacts = {};

}  // namespace orvik
