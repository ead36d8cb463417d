// SPDX-License-Identifier: MIT
#include <cstdlib>

#include "imaging/view/render.h"
#include "integrations/server/page/commands.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace orvik::server::command;  // NOLINT(google-build-using-namespace)
  const Parsed parsed = parse({reinterpret_cast<const char*>(data), size});
  // A command or a reason, never both.
  if (parsed.command.has_value() != parsed.fault.empty()) std::abort();
  if (!parsed.command) return 0;
  if (const auto* view = std::get_if<View>(&*parsed.command)) {
    // Whatever part is wanted, a part of the image is shown.
    const orvik::imaging::ImageSource image{{}, {1304, 976}, Orvik_IMG_RAW8, BAYER_RG};
    const auto plan = orvik::imaging::planFor(image, view->wish.window, view->wish.place, 1);
    if (plan.size().width < 1 || plan.size().height < 1 || plan.part.x < 0 || plan.part.y < 0 ||
        plan.part.x + plan.part.width > 1304 || plan.part.y + plan.part.height > 976) {
      std::abort();
    }
  }
  if (const auto* pulse = std::get_if<Pulse>(&*parsed.command)) {
    if (pulse->line < 0 || pulse->line > 3 || pulse->length.count() > 60000) std::abort();
  }
  return 0;
}
