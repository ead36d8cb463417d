// SPDX-License-Identifier: MIT
#include "models/marked_parts.h"
#include "models/models.h"

namespace orvik {

constexpr ModelRow T15C::kRow = modelRow({
    .name = "Vek T15C",
    .settingsName = "T15C",
    .products = {{{identity::PID_T15C}}},
    .sensor = {1304, 976, 3.75, BAYER_RG},
    .values = kT13Values,
});

constexpr MarkedFacts T15C::kFacts = {.initTable = kInitTable1304};

}  // namespace orvik
