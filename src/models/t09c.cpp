// SPDX-License-Identifier: MIT
#include "models/marked_parts.h"
#include "models/models.h"

namespace orvik {

constexpr ModelRow CCameraT09C::kRow = modelRow({
    .name = "Vek T09C",
    .settingsKey = L"SOFTWARE\\T09C",
    .products = {{{identity::PID_T09C_A, "Vek T09C-A"},
                  {identity::PID_T09C_B, "Vek T09C-B"},
                  {identity::PID_T09C_C}}},
    .sensor = {1944, 1224, 2.8, BAYER_BG},
    .values = kFastSensorValues,
    .probed = true,
});

constexpr MarkedFacts CCameraT09C::kFacts = {.initTable = kInitTable};

}  // namespace orvik
