// SPDX-License-Identifier: MIT
#include "models/marked_parts.h"
#include "models/models.h"

namespace orvik {

constexpr ModelRow T13C::kRow = modelRow({
    .name = "Vek T13C",
    .settingsName = "T13C",
    .products = {{{identity::PID_T13C}}},
    .sensor = kSensorT13C,
    .values = kT13Values,
});

constexpr MarkedFacts T13C::kFacts = {.initTable = kInitTable1304};

}  // namespace orvik
