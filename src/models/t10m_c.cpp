// SPDX-License-Identifier: MIT
#include "models/marked_parts.h"
#include "models/models.h"

namespace orvik {

constexpr ModelRow T10M_C::kRow = modelRow({
    .name = "Vek T10M COOL",
    .settingsName = "T10M-C",
    .products = {{{identity::PID_T10M_COOL}}},
    .sensor = kSensorT10M,
    .values = kFastSensorValues,
    .cooled = true,
});

constexpr MarkedFacts T10M_C::kFacts = {.initTable = kInitTable};

}  // namespace orvik
