// SPDX-License-Identifier: MIT
#include "controls/auto_control.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "controls/image_regulator.h"
#include "state/frame_time.h"

namespace orvik {
namespace {

using namespace std::chrono_literals;

constexpr auto kFirstRoundAfter = 200ms;
constexpr auto kEndTimeout = 500ms;

Wanted wantedNow(const CameraState& state) {
  // Users of 16-bit frames balance the colours themselves.
  return {.brightness = state.exposureAuto || state.gainAuto,
          .colour = state.whiteBalanceAuto && !state.output16Bits};
}

void runRounds(const AutoControl::Parts& parts, FrameProbe& probe) {
  if (!parts.stop->sleepFor(kFirstRoundAfter)) return;
  int untilBalance = parts.pace.roundsPerBalance;
  do {
    Wanted wanted = wantedNow(*parts.state);
    untilBalance = std::max(untilBalance - 1, 0);
    wanted.colour = wanted.colour && untilBalance == 0;
    if (!wanted.any()) continue;
    const std::optional<FrameMeasurement> measured = probe.ask(wanted);
    if (!measured) return;
    if (measured->colour) untilBalance = parts.pace.roundsPerBalance;
    parts.settings->tryUse([&](ImageRegulator& regulator) { regulator.follow(*measured); });
  } while (parts.stop->sleepFor(parts.pace.round));
}

}  // namespace

AutoPace autoPaceOf(const ModelRow& model) {
  if (model.slowAutoControl) {
    return {.round = 200ms, .roundsPerBalance = 1, .slowFrameUs = 600'000};
  }
  return {.round = 100ms, .roundsPerBalance = 4, .slowFrameUs = 100'000};
}

AutoControl::AutoControl(Parts parts)
    : parts_(std::move(parts)), probe_(std::make_shared<FrameProbe>()) {}

AutoControl::~AutoControl() { end(); }

void AutoControl::start() {
  thread_.start([parts = parts_, probe = probe_] {
    try {
      runRounds(parts, *probe);
    } catch (const std::exception&) {  // out of memory: automatic control ends, capture goes on
    }
  });
}

bool AutoControl::isSlow() const {
  const CameraState& now = *parts_.state;
  const auto limit = parts_.pace.slowFrameUs;
  return now.exposureUs >= limit || frameTimeUs(now.rowsDelivered(), now.lineLength,
                                                now.clockKhz) >= static_cast<double>(limit);
}

void AutoControl::look(std::span<const std::uint8_t> frame, const FrameFormat& format,
                       const FrameFacts& facts) {
  measured_.reset();
  slow_ = isSlow();
  secondFrame_ = !secondFrame_;
  if (slow_ && !secondFrame_) return;
  const Wanted wanted = slow_ ? wantedNow(*parts_.state) : probe_->wanted();
  if (!wanted.any()) return;
  if (!facts.isSettled) {  // no measurement is possible in this round
    measured_.emplace();
    return;
  }
  parts_.settings->tryUse([&](ImageRegulator& regulator) {
    measured_ = regulator.measure(frame, format, facts.settings, wanted);
  });
}

void AutoControl::act() {
  if (!measured_) return;
  if (slow_) {
    parts_.settings->tryUse([this](ImageRegulator& regulator) { regulator.follow(*measured_); });
  } else {
    probe_->answer(*measured_);
  }
  measured_.reset();
}

void AutoControl::end() {
  parts_.stop->stop();
  probe_->close();
  thread_.join(kEndTimeout);
}

}  // namespace orvik
