// SPDX-License-Identifier: MIT
#include "models/end_mark_parts.h"
#include "models/models.h"

namespace orvik {

constexpr ModelRow T03C::kRow = modelRow({
    .name = "Vek T03C",
    .settingsName = "T03C",
    .products = {{{identity::PID_T03C_A, "Halvard T03C-A"},
                  {identity::PID_T03C_B, "Halvard T03C-B"},
                  {identity::PID_T03C_C}}},
    .sensor = {752, 480, 6.0, BAYER_GB},
    .values = kT01Values,
    .probed = true,
    .whiteBalance = kNeutralWhiteBalance,
    .whiteBalanceOnHost = true,
});

constexpr EndMarkFacts T03C::kFacts = {};

}  // namespace orvik
