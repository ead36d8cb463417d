// SPDX-License-Identifier: MIT
#include "models/marked_parts.h"
#include "models/models.h"

namespace orvik {

constexpr ModelRow T10C_C::kRow = modelRow({
    .name = "Vek T10C COOL",
    .settingsName = "T10C-C",
    .products = {{{identity::PID_T10C_C}}},
    .sensor = kSensorT10C,
    .values = kFastSensorValues,
    .cooled = true,
});

constexpr MarkedFacts T10C_C::kFacts = {.initTable = kInitTable};

}  // namespace orvik
