// SPDX-License-Identifier: MIT
#include "sim/fault/script.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <system_error>

namespace orvik::fault {
namespace {

using Words = std::vector<std::string_view>;

constexpr std::string_view kBlanks = " \t\r";

Words wordsOf(std::string_view line) {
  Words words;
  for (;;) {
    const std::size_t start = line.find_first_not_of(kBlanks);
    if (start == std::string_view::npos) return words;
    const std::size_t end = std::min(line.find_first_of(kBlanks, start), line.size());
    words.push_back(line.substr(start, end - start));
    line.remove_prefix(end);
  }
}

/// Reads the whole word as a number.
template <typename T, typename... Format>
std::optional<T> number(std::string_view word, Format... format) {
  T value{};
  const char* const end = word.data() + word.size();
  const auto [stopped, error] = std::from_chars(word.data(), end, value, format...);
  if (error != std::errc{} || stopped != end) return std::nullopt;
  return value;
}

struct TargetWord {
  std::string_view text;
  Target target;
};

constexpr std::array kTargets = {
    TargetWord{"any", Target::kAny},     TargetWord{"control", Target::kControl},
    TargetWord{"bulk", Target::kBulk},   TargetWord{"open", Target::kOpen},
    TargetWord{"claim", Target::kClaim},
};

/// What an action is called, what it can happen to, and the amounts it takes.
struct ActionWord {
  std::string_view text;
  Action action;
  bool onControl;
  bool onBulk;
  std::int32_t least = 0;  ///< of the amount; above `most` where there is none to give
  std::int32_t most = -1;
  std::int32_t usual = 0;
};

constexpr std::int32_t kMegabyte = 1 << 20;
constexpr std::int32_t kMinute = 60'000;
constexpr std::int32_t kAnyByte = std::numeric_limits<std::int32_t>::max();

constexpr std::array kWords = {
    ActionWord{"fail", Action::kFail, true, true},
    ActionWord{"stall", Action::kStall, true, true},
    ActionWord{"timeout", Action::kTimeOut, true, true},
    ActionWord{"delay", Action::kDelay, true, true, 0, kMinute, 10},
    ActionWord{"deaf", Action::kDeaf, true, true, 0, kMinute, 3000},
    ActionWord{"refuse", Action::kRefuse, true, true},
    ActionWord{"overflow", Action::kOverflow, false, true},
    ActionWord{"short", Action::kShort, true, true, 1, kMegabyte, 2},
    ActionWord{"empty", Action::kEmpty, false, true},
    ActionWord{"long", Action::kLong, false, true, 1, kMegabyte, 2},
    ActionWord{"flip", Action::kFlip, true, true, -kAnyByte, kAnyByte, 0},
    ActionWord{"duplicate", Action::kDuplicate, false, true},
    ActionWord{"tear", Action::kTear, false, true},
    ActionWord{"unplug", Action::kUnplug, true, true},
    ActionWord{"replug", Action::kReplug, true, true, 0, kMinute, 200},
};

std::string quoted(std::string_view text) { return std::string("'").append(text).append("'"); }

bool mayHappen(const ActionWord& word, Target target) {
  switch (target) {
    case Target::kAny:
      return word.onControl && word.onBulk;
    case Target::kControl:
      return word.onControl;
    case Target::kBulk:
      return word.onBulk;
    default:
      return word.action == Action::kRefuse;
  }
}

/// Reads `N` or `N..M` where an amount may stand. @return false when it is out of range.
bool readAmount(const ActionWord& action, std::string_view word, Rule& rule) {
  const bool ranged = action.action == Action::kDelay || action.action == Action::kDeaf;
  const std::size_t dots = word.find("..");
  const auto low = number<std::int32_t>(word.substr(0, dots));
  const auto high =
      dots == std::string_view::npos ? low : number<std::int32_t>(word.substr(dots + 2));
  if (!low || !high || *low < action.least || *high > action.most || *high < *low) return false;
  rule.amount = *low;
  rule.spread = *high - *low;
  return ranged || rule.spread == 0;
}

/// Reads one condition from the front of `words`. @return false when it is none.
bool readCondition(Words& words, When& when) {
  if (words.size() < 2) return false;
  const std::string_view name = words[0];
  const auto count = number<std::uint64_t>(words[1]);
  const bool counts = count.value_or(0) > 0;
  if (name == "at" && counts) {
    when.first = when.last = *count;
  } else if (name == "from" && counts) {
    when.first = *count;
  } else if (name == "to" && counts) {
    when.last = *count;
  } else if (name == "every" && counts) {
    when.every = *count;
  } else if (const auto chance = number<double>(words[1]); name == "chance" && chance) {
    if (!(*chance >= 0 && *chance <= 1)) return false;
    when.chance = *chance;
  } else {
    return false;
  }
  words.erase(words.begin(), words.begin() + 2);
  return true;
}

bool isAmount(std::string_view word) { return word.find_first_of("-0123456789") == 0; }

std::string readRule(Words words, Rule& rule) {
  const auto* const target = std::ranges::find(kTargets, words.front(), &TargetWord::text);
  if (target == kTargets.end()) {
    return quoted(words.front()) + " is none of any, control, bulk, open, claim and seed.";
  }
  rule.target = target->target;
  words.erase(words.begin());
  if (rule.target == Target::kControl && !words.empty() && words.front().size() == 2) {
    rule.request = number<std::uint8_t>(words.front(), 16);
    if (!rule.request) return quoted(words.front()) + " is no request code.";
    words.erase(words.begin());
  }

  if (words.empty()) return "A rule for " + quoted(target->text) + " does not say what happens.";
  const auto* const action = std::ranges::find(kWords, words.front(), &ActionWord::text);
  if (action == kWords.end()) return "There is no fault " + quoted(words.front()) + ".";
  if (!mayHappen(*action, rule.target)) {
    return "The fault " + quoted(action->text) + " cannot happen to " + quoted(target->text) + ".";
  }
  rule.action = action->action;
  rule.amount = action->usual;
  words.erase(words.begin());
  if (!words.empty() && isAmount(words.front())) {
    if (!readAmount(*action, words.front(), rule)) {
      return "The fault " + quoted(action->text) + " does not take " + quoted(words.front()) + ".";
    }
    words.erase(words.begin());
  }
  while (!words.empty()) {
    if (!readCondition(words, rule.when)) {
      return quoted(words.front()) +
             " does not begin one of: at N, from N, to N, every N, chance P.";
    }
  }
  return {};
}

std::string readLine(const Words& words, Script& script) {
  if (words.front() != "seed") {
    Rule rule;
    std::string refusal = readRule(words, rule);
    if (refusal.empty()) script.rules.push_back(rule);
    return refusal;
  }
  const auto seed = words.size() == 2 ? number<std::uint64_t>(words[1]) : std::nullopt;
  if (!seed) return "'seed' takes a whole number from 0 to 2^64 - 1.";
  script.seed = *seed;
  return {};
}

}  // namespace

std::string parseScript(std::string_view text, Script& script) {
  script = {};
  while (!text.empty()) {
    const std::size_t end = std::min(text.find_first_of(";\n"), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    line = line.substr(0, line.find('#'));
    const Words words = wordsOf(line);
    if (words.empty()) continue;
    std::string refusal = readLine(words, script);
    if (!refusal.empty()) return refusal;
  }
  return {};
}

}  // namespace orvik::fault
