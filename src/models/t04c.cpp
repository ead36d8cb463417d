// SPDX-License-Identifier: MIT
#include "models/marked_parts.h"
#include "models/models.h"

namespace orvik {

constexpr ModelRow T04C::kRow = modelRow({
    .name = "Vek T04C COOL",
    .settingsName = "T04C",
    .products = {{{identity::PID_T04C}}},
    .sensor = {4944, 3284, 4.86, BAYER_RG},
    .values = kLargeSensorValues,
    .cooled = true,
});

constexpr MarkedFacts T04C::kFacts = {.initTable = kInitTable, .keepsSensorAwake = true};

}  // namespace orvik
