// SPDX-License-Identifier: MIT
#include "models/marked_parts.h"
#include "models/models.h"

namespace orvik {

constexpr ModelRow T10C::kRow = modelRow({
    .name = "Vek T10C",
    .settingsName = "T10C",
    .products = {{{identity::PID_T10C}}},
    .sensor = kSensorT10C,
    .values = kFastSensorValues,
});

constexpr MarkedFacts T10C::kFacts = {.initTable = kInitTable};

}  // namespace orvik
