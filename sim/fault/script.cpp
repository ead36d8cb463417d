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

std::optional<Action> findAction(std::string_view name) {
  for (int number = 0; number < kActions; ++number) {
    const auto action = static_cast<Action>(number);
    if (actionFacts(action).name == name) return action;
  }
  return std::nullopt;
}

std::string quoted(std::string_view text) { return std::string("'").append(text).append("'"); }

/// Reads `N` or `N..M` where an amount may stand. @return false when it is out of range.
bool readAmount(const Amount& amount, std::string_view word, Rule& rule) {
  const std::size_t dots = word.find("..");
  const auto low = number<std::int32_t>(word.substr(0, dots));
  const auto high =
      dots == std::string_view::npos ? low : number<std::int32_t>(word.substr(dots + 2));
  if (!low || !high || *low < amount.least() || *high > amount.most() || *high < *low) return false;
  rule.amount = *low;
  rule.spread = *high - *low;
  return amount.kind == Amount::Kind::kTimeRange || rule.spread == 0;
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
  const std::optional<Action> action = findAction(words.front());
  if (!action) return "There is no fault " + quoted(words.front()) + ".";
  const ActionFacts facts = actionFacts(*action);
  if (!facts.mayHappenTo(rule.target)) {
    return "The fault " + quoted(facts.name) + " cannot happen to " + quoted(target->text) + ".";
  }
  rule.action = *action;
  rule.amount = facts.amount.usual;
  words.erase(words.begin());
  if (!words.empty() && isAmount(words.front())) {
    if (!readAmount(facts.amount, words.front(), rule)) {
      return "The fault " + quoted(facts.name) + " does not take " + quoted(words.front()) + ".";
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
