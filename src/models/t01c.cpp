// SPDX-License-Identifier: MIT
#include "models/end_mark_parts.h"
#include "models/models.h"

namespace orvik {

constexpr ModelRow T01C::kRow = modelRow({
    .name = "Vek T01C",
    .settingsName = "T01C",
    .products = {{{identity::PID_T01C}}},
    .sensor = {640, 480, 6.0, BAYER_GR},
    .values = kT01Values,
    .whiteBalance = kNeutralWhiteBalance,
    .whiteBalanceOnHost = true,
});

constexpr EndMarkFacts T01C::kFacts = {};

}  // namespace orvik
