// SPDX-License-Identifier: MIT
#include "models/end_mark_parts.h"
#include "models/models.h"

namespace orvik {

constexpr ModelRow T03M::kRow = modelRow({
    .name = "Vek T03M",
    .settingsName = "T03M",
    .products = {{{identity::PID_T03M_A, "Halvard T03M-A"},
                  {identity::PID_T03M_B, "Halvard T03M-B"},
                  {identity::PID_T03M_C}}},
    .sensor = {752, 480, 6.0},
    .values = kT01Values,
    .probed = true,
});

constexpr EndMarkFacts T03M::kFacts = {};

}  // namespace orvik
