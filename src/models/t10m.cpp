// SPDX-License-Identifier: MIT
#include "models/marked_parts.h"
#include "models/models.h"

namespace orvik {

constexpr ModelRow T10M::kRow = modelRow({
    .name = "Vek T10M",
    .settingsName = "T10M",
    .products = {{{identity::PID_T10M_A, "Vek T10M-A"},
                  {identity::PID_T10M_B, "Vek T10M-B"},
                  {identity::PID_T10M_C}}},
    .sensor = kSensorT10M,
    .values = kFastSensorValues,
    .probed = true,
});

constexpr MarkedFacts T10M::kFacts = {.initTable = kInitTable};

}  // namespace orvik
