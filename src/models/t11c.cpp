// SPDX-License-Identifier: MIT
#include "models/marked_parts.h"
#include "models/models.h"

namespace orvik {

constexpr ModelRow CCameraT11C::kRow = modelRow({
    .name = "Vek T11C",
    .settingsKey = L"SOFTWARE\\T11C",
    .products = {{{identity::PID_T11C}}},
    .sensor = kSensorT11C,
    .values = kT11Values,
});

constexpr MarkedFacts CCameraT11C::kFacts = {.initTable = kInitTable};

}  // namespace orvik
