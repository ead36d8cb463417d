// SPDX-License-Identifier: MIT
#include "models/marked_parts.h"
#include "models/models.h"

namespace orvik {

constexpr ModelRow T05C::kRow = modelRow({
    .name = "Vek T05C COOL",
    .settingsName = "T05C",
    .products = {{{identity::PID_T05C}}},
    .sensor = {7380, 4928, 5.97, BAYER_RG},
    .values = kLargeSensorValues,
    .cooled = true,
});

constexpr MarkedFacts T05C::kFacts = {.initTable = kInitTable, .keepsSensorAwake = true};

}  // namespace orvik
