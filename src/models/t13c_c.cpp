// SPDX-License-Identifier: MIT
#include "models/marked_parts.h"
#include "models/models.h"

namespace orvik {

constexpr ModelRow T13C_C::kRow = modelRow({
    .name = "Vek T13C COOL",
    .settingsName = "T13C-C",
    .products = {{{identity::PID_T13C_C}}},
    .sensor = kSensorT13C,
    .values = kT13Values,
    .cooled = true,
});

constexpr MarkedFacts T13C_C::kFacts = {.initTable = kInitTable1304};

}  // namespace orvik
