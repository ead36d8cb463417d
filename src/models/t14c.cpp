// SPDX-License-Identifier: MIT
#include "models/marked_parts.h"
#include "models/models.h"

namespace orvik {

constexpr ModelRow T14C::kRow = modelRow({
    .name = "Vek T14C",
    .settingsName = "T14C",
    .products = {{{identity::PID_T14C}}},
    .sensor = {1304, 976, 3.75, BAYER_BG},
    .values = kT13Values,
});

constexpr MarkedFacts T14C::kFacts = {.initTable = kInitTable1304};

}  // namespace orvik
