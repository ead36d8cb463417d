// SPDX-License-Identifier: MIT
#include "models/marked_parts.h"
#include "models/models.h"

namespace orvik {

constexpr ModelRow T12C::kRow = modelRow({
    .name = "Vek T12C",
    .settingsName = "T12C",
    .products = {{{identity::PID_T12C}}},
    .sensor = kSensorT12C,
    .values = kT12Values,
});

constexpr MarkedFacts T12C::kFacts = {.initTable = kInitTable};

}  // namespace orvik
