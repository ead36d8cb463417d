// SPDX-License-Identifier: MIT
#include "sim/fault/faults.h"

#include <algorithm>
#include <utility>

#include "sim/fault/flight.h"
#include "sim/fault/port.h"

namespace orvik::fault {
namespace {

using seam::TransferStatus;

bool looksAt(const Rule& rule, Target target, std::uint8_t request) {
  if (rule.request && *rule.request != request) return false;
  if (rule.target == target) return true;
  return rule.target == Target::kAny && (target == Target::kControl || target == Target::kBulk);
}

bool usesLastRead(const Rule& rule) { return actionFacts(rule.action).usesLastRead; }

template <typename T>
std::vector<std::shared_ptr<T>> livingOf(const std::vector<std::weak_ptr<T>>& all) {
  std::vector<std::shared_ptr<T>> living;
  for (const auto& each : all) {
    if (auto one = each.lock()) living.push_back(std::move(one));
  }
  return living;
}

template <typename T>
void addTo(std::vector<std::weak_ptr<T>>& all, const std::shared_ptr<T>& one) {
  std::erase_if(all, [](const auto& each) { return each.expired(); });
  all.push_back(one);
}

}  // namespace

std::size_t Strike::edited(std::span<std::uint8_t> data, std::size_t received,
                           std::span<const std::uint8_t> last) const {
  const Edit edit = actionFacts(action).edit;
  return edit == nullptr ? received : edit(amount, data, received, last);
}

Faults::Faults(Script script, std::shared_ptr<seam::ChangeCount> changes)
    : changes_(std::move(changes)) {
  setScript(std::move(script));
}

Faults::~Faults() = default;

void Faults::setScript(Script script) {
  const std::lock_guard lock(mutex_);
  rules_.clear();
  for (const Rule& rule : script.rules) rules_.push_back({rule});
  random_ = sim::Random(script.seed);
  keepsReads_ = std::ranges::any_of(script.rules, usesLastRead);
  lastRead_.clear();
}

std::uint64_t Faults::struck(Action action) const {
  const std::lock_guard lock(mutex_);
  return struck_[static_cast<std::size_t>(action)];
}

bool Faults::present() {
  const std::lock_guard lock(mutex_);
  if (gone_ && back_ && Clock::now() >= *back_) {
    gone_ = false;
    ++replugs_;
  }
  return !gone_;
}

unsigned Faults::replugs() {
  const std::lock_guard lock(mutex_);
  return replugs_;
}

std::unique_ptr<seam::Port> Faults::open(
    const std::function<std::unique_ptr<seam::Port>()>& openInner) {
  if (!present() || next(Target::kOpen)) return nullptr;
  auto inner = openInner();
  if (!inner) return nullptr;
  auto opening = std::make_shared<Opening>(std::move(inner));
  {
    const std::lock_guard lock(mutex_);
    if (gone_) return nullptr;
    addTo(openings_, opening);
  }
  return std::make_unique<FaultyPort>(shared_from_this(), std::move(opening));
}

bool Faults::strikes(const Counted& counted) {
  const When& when = counted.rule.when;
  if (counted.events < when.first || counted.events > when.last) return false;
  if ((counted.events - when.first) % when.every != (when.first == 1 ? when.every - 1 : 0)) {
    return false;
  }
  return when.chance >= 1 || random_.uniform() < when.chance;
}

std::optional<Strike> Faults::next(Target target, std::uint8_t request) {
  std::optional<Strike> strike;
  {
    const std::lock_guard lock(mutex_);
    for (Counted& counted : rules_) {
      if (!looksAt(counted.rule, target, request)) continue;
      ++counted.events;
      if (strike || !strikes(counted)) continue;
      const Rule& rule = counted.rule;
      strike = Strike{rule.action, rule.amount};
      if (rule.spread > 0) strike->amount += random_.below(rule.spread + 1);
      ++struck_[static_cast<std::size_t>(rule.action)];
    }
  }
  if (!strike) return std::nullopt;
  if (actionFacts(strike->action).isGone) {
    const bool comesBack = strike->action == Action::kReplug;
    unplug(comesBack ? std::optional(Clock::now() + std::chrono::milliseconds(strike->amount))
                     : std::nullopt);
  }
  return strike;
}

void Faults::unplug(std::optional<Clock::time_point> back) {
  std::vector<std::shared_ptr<Flight>> flights;
  std::vector<std::shared_ptr<Opening>> openings;
  {
    const std::lock_guard lock(mutex_);
    gone_ = true;
    back_ = back;
    halted_.clear();
    flights = livingOf(flights_);
    openings = livingOf(openings_);
    openings_.clear();
  }
  if (changes_) {
    changes_->add();
    if (back) changes_->addAt(*back);
  }
  for (const auto& opening : openings) opening->markGone();
  for (const auto& flight : flights) flight->end(TransferStatus::kNoDevice);
  for (const auto& opening : openings) opening->close();
}

void Faults::add(const std::shared_ptr<Flight>& flight) {
  const std::lock_guard lock(mutex_);
  addTo(flights_, flight);
}

void Faults::halt(std::uint8_t endpoint) {
  std::vector<std::shared_ptr<Flight>> flights;
  {
    const std::lock_guard lock(mutex_);
    halted_.insert(endpoint);
    flights = livingOf(flights_);
  }
  for (const auto& flight : flights) {
    if (flight->endpoint() == endpoint) flight->end(TransferStatus::kStalled);
  }
}

void Faults::clearHalt(std::uint8_t endpoint) {
  const std::lock_guard lock(mutex_);
  halted_.erase(endpoint);
}

bool Faults::isHalted(std::uint8_t endpoint) {
  const std::lock_guard lock(mutex_);
  return halted_.contains(endpoint);
}

std::size_t Faults::edit(const std::optional<Strike>& strike, std::span<std::uint8_t> data,
                         std::size_t received) {
  const std::lock_guard lock(mutex_);
  std::vector<std::uint8_t> last;
  if (keepsReads_) {
    const auto fresh = data.first(received);
    last = std::exchange(lastRead_, {fresh.begin(), fresh.end()});
  }
  return strike ? strike->edited(data, received, last) : received;
}

}  // namespace orvik::fault
