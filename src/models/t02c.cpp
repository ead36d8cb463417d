// SPDX-License-Identifier: MIT
#include "models/end_mark_parts.h"
#include "models/models.h"

namespace orvik {
namespace {

constexpr ModelValues kT02CValues = oldestValues(64, 5'000'000);

}  // namespace

constexpr ModelRow T02C::kRow = modelRow({
    .name = "Vek T02C",
    .settingsName = "T02C",
    .products = {{{identity::PID_T02C_A, "Vek T02C-A"},
                  {identity::PID_T02C_B, "Vek T02C-B"},
                  {identity::PID_T02C_C}}},
    .sensor = {728, 512, 5.6, BAYER_BG},
    .values = kT02CValues,
    .probed = true,
    .slowAutoControl = true,
});

constexpr EndMarkFacts T02C::kFacts = {};

}  // namespace orvik
