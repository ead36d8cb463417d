// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "base/current_clock.h"
#include "support/conversation.h"
#include "support/stepped_clock.h"
#include "usb/current_host.h"
#include "usb/fake_host.h"

namespace orvik::test {

/// A USB 2 camera that logs the requests it receives, gives the answers that all cameras give, and
/// otherwise behaves only as a test specifies.
struct ScriptedCamera {
  explicit ScriptedCamera(std::uint16_t productId, std::uint8_t port = 1) {
    const auto low = static_cast<std::uint8_t>(productId & 0xFF);
    const auto high = static_cast<std::uint8_t>(productId >> 8);
    descriptors.entries = {
        {0x0100, {18, 1, 0x00, 0x02, 0, 0, 0, 64, 0x56, 0x4F, low, high, 0x00, 0x01, 0, 0, 0, 1}},
        {0x0200, {9, 2, 25,   0, 1,    1,    0, 0x80, 50,  // configuration
                  9, 4, 0,    0, 1,    0xFF, 0, 0,    0,   // interface
                  7, 5, 0x82, 2, 0x00, 0x02, 0}}};         // bulk IN, 512 bytes
    device->speed = seam::Speed::kHigh;
    device->info = {{1, {port}, port}, 0x4F56, productId};
    device->control = [this](const testing::FakeRequest& request) { return answer(request); };
  }

  testing::Answer answer(const testing::FakeRequest& request) {
    const seam::SetupPacket& setup = request.setup;
    if (setup.requestType == 0x80 || setup.requestType == 0x81) return descriptors(request);
    conversation.add(setup);
    switch (setup.request) {
      case 0xB6:
        bytes[setup.value] = static_cast<std::uint8_t>(setup.index);
        if (onByte) onByte(setup.value);
        return {};
      case 0xB7:
        return {.data = {bytes[setup.value]}};
      case 0xB4:
        return {.data = {0}};
      case 0xAD:
        return {.data = {'V', 0x12}};
      default:
        return {.data = std::vector<std::uint8_t>(request.data.size(), 0)};
    }
  }

  std::shared_ptr<testing::FakeDevice> device = std::make_shared<testing::FakeDevice>();
  testing::DescriptorTable descriptors;
  Conversation conversation;
  std::map<std::uint16_t, std::uint8_t> bytes;        ///< sensor registers of 8 bits
  std::function<void(std::uint16_t address)> onByte;  ///< called after each write
};

/// Scripted cameras in place of the USB bus, and a clock. By default the clock is moved by the
/// threads that sleep on it; captures use a steady clock.
class ScriptedBench {
 public:
  explicit ScriptedBench(std::shared_ptr<seam::Clock> clockToUse = std::make_shared<SteppedClock>())
      : clock(std::move(clockToUse)) {
    installHost(host);
    installClock(clock);
  }
  ~ScriptedBench() {
    installHost(nullptr);
    installClock(nullptr);
  }
  ScriptedBench(const ScriptedBench&) = delete;
  ScriptedBench& operator=(const ScriptedBench&) = delete;

  void plug(const ScriptedCamera& camera) { host->plugged.push_back(camera.device); }

  std::shared_ptr<testing::FakeHost> host = std::make_shared<testing::FakeHost>();
  const std::shared_ptr<seam::Clock> clock;
};

}  // namespace orvik::test
