// SPDX-License-Identifier: MIT
#include "models/marked_parts.h"
#include "models/models.h"

namespace orvik {

constexpr ModelRow CCameraT11C_C::kRow = modelRow({
    .name = "Vek T11C COOL",
    .settingsKey = L"SOFTWARE\\T11C-C",
    .products = {{{identity::PID_T11C_C}}},
    .sensor = kSensorT11C,
    .values = kT11Values,
    .cooled = true,
});

constexpr MarkedFacts CCameraT11C_C::kFacts = {.initTable = kInitTable};

}  // namespace orvik
