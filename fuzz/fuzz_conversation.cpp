// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "trace/replay_host.h"

/// Reads a recording, and plays it to a client that requests exactly the recorded transfers.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace orvik;  // NOLINT(google-build-using-namespace)
  using std::chrono::milliseconds;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  trace::Conversation conversation;
  if (!trace::readConversation(text, conversation).empty()) return 0;
  trace::ReplayHost host(conversation);
  for (const trace::Opening& opening : conversation.openings) {
    const auto port = host.open({opening.location, 0, 0});
    if (!port) continue;
    for (const trace::ControlEvent& event : opening.controls) {
      std::vector<std::uint8_t> bytes(event.length);
      if (!event.isIn()) std::ranges::copy(event.data, bytes.begin());
      const auto transfer = port->newControlTransfer();
      transfer->submit(event.setup, {bytes, nullptr}, milliseconds(0));
      transfer->cancel();
      if (!transfer->wait(milliseconds(0)) || transfer->actualBytes() > bytes.size()) std::abort();
    }
    std::array<std::uint8_t, 40> bytes{};
    for (const trace::BulkEvent& event : opening.bulks) {
      const auto transfer = port->newBulkTransfer(event.endpoint);
      transfer->submit({bytes, nullptr});
      transfer->cancel();
      if (!transfer->wait(milliseconds(0)) || transfer->actualBytes() > bytes.size()) std::abort();
    }
  }
  return 0;
}
