// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstdlib>

#include "models/models.h"
#include "settings/state_settings.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace orvik;  // NOLINT(google-build-using-namespace)
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  CameraState state;
  if (const auto group = settings::readGroup(text, "T15C")) {
    settings::apply(*group, T15C::kRow, state);
    if (state.gain > T15C::kRow.gain.max || state.exposureUs > 100'000) std::abort();
  }
  // The values that are written can be read back, whatever the file contained, and the result is a
  // valid settings file.
  const settings::Group mine = settings::groupOf(state);
  const auto written = settings::withValues(text, "T15C", mine);
  if (!written) return 0;
  const auto back = settings::readGroup(*written, "T15C");
  if (!back || !std::ranges::all_of(mine, [&](const settings::Value& value) {
        const settings::Value* found = settings::find(*back, value.name);
        return found != nullptr && *found == value;
      })) {
    std::abort();
  }
  return 0;
}
