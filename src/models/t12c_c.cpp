// SPDX-License-Identifier: MIT
#include "models/marked_parts.h"
#include "models/models.h"

namespace orvik {

constexpr ModelRow T12C_C::kRow = modelRow({
    .name = "Vek T12C COOL",
    .settingsName = "T12C-C",
    .products = {{{identity::PID_T12C_C}}},
    .sensor = kSensorT12C,
    .values = kT12Values,
    .cooled = true,
});

constexpr MarkedFacts T12C_C::kFacts = {.initTable = kInitTable};

}  // namespace orvik
