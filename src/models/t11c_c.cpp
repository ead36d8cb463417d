// SPDX-License-Identifier: MIT
#include "models/marked_parts.h"
#include "models/models.h"

namespace orvik {

constexpr ModelRow T11C_C::kRow = modelRow({
    .name = "Vek T11C COOL",
    .settingsName = "T11C-C",
    .products = {{{identity::PID_T11C_C}}},
    .sensor = kSensorT11C,
    .values = kT11Values,
    .cooled = true,
});

constexpr MarkedFacts T11C_C::kFacts = {.initTable = kInitTable};

}  // namespace orvik
