// SPDX-License-Identifier: MIT
#include "trace/play.h"

#include <algorithm>
#include <cstdio>

namespace orvik::trace {
namespace {

/// How far ahead a request is searched for, in case threads of the driver run in another order.
constexpr std::size_t kLookAhead = 64;

std::string nameOf(const seam::SetupPacket& setup) {
  char text[64];
  std::snprintf(text, sizeof text, "request %02X %02X, value %04X, index %04X",
                unsigned{setup.requestType}, unsigned{setup.request}, unsigned{setup.value},
                unsigned{setup.index});
  return text;
}

bool isSame(const seam::SetupPacket& a, const seam::SetupPacket& b) {
  return a.requestType == b.requestType && a.request == b.request && a.value == b.value &&
         a.index == b.index;
}

}  // namespace

void Departures::add(std::string what) {
  const std::lock_guard lock(mutex_);
  if (listener_) listener_(what);
  list_.push_back(std::move(what));
}

std::vector<std::string> Departures::list() const {
  const std::lock_guard lock(mutex_);
  return list_;
}

DevicePlay::DevicePlay(std::vector<Opening> openings, std::shared_ptr<Departures> departures)
    : departures_(std::move(departures)) {
  for (Opening& opening : openings) {
    if (opening.opened && speed_ == seam::Speed::kUnknown) speed_ = opening.speed;
    for (const ControlEvent& event : opening.controls) {
      const seam::SetupPacket& asked = event.setup;
      if (!isStandard(asked)) continue;
      answers_[{asked.requestType, asked.request, asked.value, asked.index, event.length}]
          .events.push_back(event);
    }
    ahead_.push_back(std::move(opening));
  }
}

bool DevicePlay::open() {
  const std::lock_guard lock(mutex_);
  if (ahead_.empty() || ahead_.front().opened) return true;
  ahead_.pop_front();
  return false;
}

const ControlEvent* DevicePlay::describe(const seam::SetupPacket& setup, std::size_t length) {
  const std::lock_guard lock(mutex_);
  const auto found =
      answers_.find({setup.requestType, setup.request, setup.value, setup.index, length});
  if (found == answers_.end()) return nullptr;
  Answers& answers = found->second;
  const ControlEvent& event = answers.events[answers.next];
  if (answers.next + 1 < answers.events.size()) ++answers.next;
  return &event;
}

void DevicePlay::endLook() {
  const std::lock_guard lock(mutex_);
  if (!ahead_.empty() && ahead_.front().isLook()) ahead_.pop_front();
}

std::optional<Opening> DevicePlay::takeOpening() {
  const std::lock_guard lock(mutex_);
  while (!ahead_.empty() && (ahead_.front().isLook() || !ahead_.front().opened)) {
    ahead_.pop_front();
  }
  if (ahead_.empty()) return std::nullopt;
  Opening opening = std::move(ahead_.front());
  ahead_.pop_front();
  return opening;
}

Play::~Play() {
  if (!opening_) {
    device_->endLook();
    return;
  }
  for (std::size_t n = 0; n < played_.size(); ++n) {
    const ControlEvent& event = opening_->controls[n];
    if (!played_[n]) tell(event.line, "left out", event.setup);
  }
}

const Opening& Play::opening() {
  if (opening_) return *opening_;
  opening_ = device_->takeOpening();
  if (!opening_) {
    device_->departures().add("After the end: a device is opened once more.");
    opening_.emplace();
  }
  for (const ControlEvent& event : opening_->controls) played_.push_back(isStandard(event.setup));
  return *opening_;
}

bool Play::claim() {
  const std::lock_guard lock(mutex_);
  return opening().claimed.value_or(true);
}

const ControlEvent* Play::next(const seam::SetupPacket& setup, std::span<const std::uint8_t> data) {
  if (isStandard(setup)) {
    const ControlEvent* const event = device_->describe(setup, data.size());
    if (event == nullptr) {
      device_->departures().add("Not recorded of any opening: " + nameOf(setup) + ".");
    }
    return event;
  }
  const std::lock_guard lock(mutex_);
  const std::vector<ControlEvent>& controls = opening().controls;
  while (first_ < played_.size() && played_[first_]) ++first_;
  const std::size_t end = std::min(played_.size(), first_ + kLookAhead);
  for (std::size_t n = first_; n < end; ++n) {
    const ControlEvent& event = controls[n];
    if (played_[n] || !isSame(event.setup, setup) || event.length != data.size()) continue;
    if (!event.isIn() && !std::ranges::equal(event.data, data)) continue;
    played_[n] = true;
    return &event;
  }
  tell(first_ < played_.size() ? controls[first_].line : 0, "not recorded", setup);
  return nullptr;
}

const BulkEvent* Play::nextRead(std::uint8_t endpoint) {
  const std::lock_guard lock(mutex_);
  const std::vector<BulkEvent>& bulks = opening().bulks;
  std::size_t& place = reads_[endpoint];
  while (place < bulks.size()) {
    const BulkEvent& event = bulks[place++];
    if (event.endpoint == endpoint) return &event;
  }
  return nullptr;
}

void Play::tell(std::size_t line, const char* what, const seam::SetupPacket& setup) {
  const std::string where = line == 0 ? "After the end" : "Line " + std::to_string(line);
  device_->departures().add(where + ": " + what + ": " + nameOf(setup) + ".");
}

}  // namespace orvik::trace
