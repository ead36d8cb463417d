// SPDX-License-Identifier: MIT
#include "models/marked_parts.h"
#include "models/models.h"

namespace orvik {

constexpr ModelRow T09C::kRow = modelRow({
    .name = "Vek T09C",
    .settingsName = "T09C",
    .products = {{{identity::PID_T09C_A, "Vek T09C-A"},
                  {identity::PID_T09C_B, "Vek T09C-B"},
                  {identity::PID_T09C_C}}},
    .sensor = {1944, 1224, 2.8, BAYER_BG},
    .values = kFastSensorValues,
    .probed = true,
});

constexpr MarkedFacts T09C::kFacts = {.initTable = kInitTable};

}  // namespace orvik
