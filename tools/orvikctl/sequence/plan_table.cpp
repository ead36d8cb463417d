// SPDX-License-Identifier: MIT
#include "tools/orvikctl/sequence/plan_table.h"

#include <sstream>

#include "tools/orvikctl/capture/exposure_search.h"
#include "tools/orvikctl/failure.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {
namespace {

template <typename Number>
std::string limitText(Number number) {
  std::ostringstream text;
  text << number;
  return text.str();
}

template <typename Number>
std::string rangeText(const char* what, Number least, Number most) {
  return std::string(what) + " from " + limitText(least) + " to " + limitText(most);
}

}  // namespace

const toml::node* PlanTable::find(const char* key) {
  known_.insert(key);
  return table_->get(key);
}

std::optional<std::string> PlanTable::text(const char* key) {
  const toml::node* const node = find(key);
  if (node == nullptr) return std::nullopt;
  if (!node->is_string()) refuseValue(key, "a text in quotes");
  const std::string& text = node->as_string()->get();
  for (const char letter : text) {
    const auto code = static_cast<unsigned char>(letter);
    if (code < 0x20 || code == 0x7F) refuseValue(key, "a text of one line");
  }
  return text;
}

std::optional<std::string> PlanTable::oneOf(const char* key,
                                            std::initializer_list<const char*> words) {
  auto given = text(key);
  if (!given) return std::nullopt;
  std::string all;
  for (const char* const word : words) {
    if (*given == word) return given;
    all.append(all.empty() ? "one of " : ", ").append(word);
  }
  refuseValue(key, all);
}

std::optional<std::int64_t> PlanTable::whole(const char* key, std::int64_t least,
                                             std::int64_t most) {
  const toml::node* const node = find(key);
  if (node == nullptr) return std::nullopt;
  const auto* const number = node->as_integer();
  if (number == nullptr || number->get() < least || number->get() > most) {
    refuseValue(key, rangeText("a whole number", least, most));
  }
  return number->get();
}

std::int64_t PlanTable::requireWhole(const char* key, std::int64_t least, std::int64_t most) {
  const auto number = whole(key, least, most);
  if (!number) refuse(std::string(key) + " is missing");
  return *number;
}

std::optional<double> PlanTable::number(const char* key, double least, double most) {
  const toml::node* const node = find(key);
  if (node == nullptr) return std::nullopt;
  const auto number = node->is_number() ? node->value<double>() : std::nullopt;
  if (!number || !(*number >= least && *number <= most)) {
    refuseValue(key, rangeText("a number", least, most));
  }
  return number;
}

std::optional<bool> PlanTable::flag(const char* key) {
  const toml::node* const node = find(key);
  if (node == nullptr) return std::nullopt;
  if (!node->is_boolean()) refuseValue(key, "true or false");
  return node->as_boolean()->get();
}

std::optional<std::chrono::microseconds> PlanTable::time(const char* key) {
  const toml::node* const node = find(key);
  if (node == nullptr) return std::nullopt;
  const auto* const text = node->as_string();
  const auto time = text != nullptr ? parseDuration(text->get()) : std::nullopt;
  if (!time || *time == 0) refuseValue(key, "a time with its unit, such as \"300s\"");
  return std::chrono::microseconds(*time);
}

std::optional<double> PlanTable::levelText(const char* key) {
  const toml::node* const node = find(key);
  if (node == nullptr) return std::nullopt;
  std::optional<double> level;
  if (const auto* const text = node->as_string()) level = parseLevel(text->get());
  if (const auto* const number = node->as_integer()) {
    level = parseLevel(std::to_string(number->get()));
  }
  if (!level) refuseValue(key, "a median of 16 bits, or of the range as in \"50%\", 5 to 90 %");
  return level;
}

std::optional<PlanTable> PlanTable::table(const char* key) {
  const toml::node* const node = find(key);
  if (node == nullptr) return std::nullopt;
  if (!node->is_table()) refuseValue(key, "a table, as in " + std::string(key) + " = { ... }");
  return PlanTable(*node->as_table(), file_);
}

std::vector<PlanTable> PlanTable::tables(const char* key) {
  const toml::node* const node = find(key);
  if (node == nullptr) return {};
  const toml::array* const array = node->as_array();
  std::vector<PlanTable> tables;
  if (array == nullptr) refuseValue(key, "[[" + std::string(key) + "]]");
  for (const toml::node& one : *array) {
    if (!one.is_table()) refuseValue(key, "[[" + std::string(key) + "]]");
    tables.emplace_back(*one.as_table(), file_);
  }
  return tables;
}

void PlanTable::refuse(const std::string& why) const { refuse(table_->source(), why); }

void PlanTable::refuseOthers() const {
  for (const auto& [key, node] : *table_) {
    if (known_.contains(key.str())) continue;
    std::string all;
    for (const std::string& one : known_) all.append(all.empty() ? "" : ", ").append(one);
    refuse(key.source(), std::string(key.str()) + " is no key here. There are: " + all);
  }
}

void PlanTable::refuse(const toml::source_region& place, const std::string& what) const {
  throw Failure(ExitCode::kUsage,
                file_ + ":" + std::to_string(place.begin.line) + ": " + what + ".");
}

void PlanTable::refuseValue(const char* key, const std::string& wanted) const {
  refuse(table_->get(key)->source(), std::string(key) + " wants " + wanted);
}

}  // namespace orvik::ctl
