// SPDX-License-Identifier: MIT
#include "models/marked_parts.h"
#include "models/models.h"

namespace orvik {

constexpr ModelRow T11C::kRow = modelRow({
    .name = "Vek T11C",
    .settingsName = "T11C",
    .products = {{{identity::PID_T11C}}},
    .sensor = kSensorT11C,
    .values = kT11Values,
});

constexpr MarkedFacts T11C::kFacts = {.initTable = kInitTable};

}  // namespace orvik
