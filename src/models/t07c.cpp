// SPDX-License-Identifier: MIT
#include "models/marked_parts.h"
#include "models/models.h"

namespace orvik {

constexpr ModelRow T07C::kRow = modelRow({
    .name = "Vek T07C COOL",
    .settingsName = "T07C",
    .products = {{{identity::PID_T07C}}},
    .sensor = {6036, 4032, 5.97, BAYER_RG},
    .values = kLargeSensorValues,
    .cooled = true,
});

constexpr MarkedFacts T07C::kFacts = {.initTable = kInitTable, .keepsSensorAwake = true};

}  // namespace orvik
