// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tools/orvikctl/sequence/toml.h"

namespace orvik::ctl {

/// A table of a plan. Whatever is wrong in it is refused with the file, the line and the key:
/// every function throws a Failure (kUsage) for a value of a wrong type or out of range, and
/// returns nothing for a key that is not there.
class PlanTable {
 public:
  /// @param table exists as long as this object
  /// @param file name for messages
  PlanTable(const toml::table& table, std::string file) : table_(&table), file_(std::move(file)) {}

  std::optional<std::string> text(const char* key);
  std::optional<std::string> oneOf(const char* key, std::initializer_list<const char*> words);
  std::optional<std::int64_t> whole(const char* key, std::int64_t least, std::int64_t most);
  std::int64_t requireWhole(const char* key, std::int64_t least, std::int64_t most);
  std::optional<double> number(const char* key, double least, double most);
  std::optional<bool> flag(const char* key);
  /// A text such as "300s", above 0.
  std::optional<std::chrono::microseconds> time(const char* key);
  /// A whole number of 16 bits, or a text such as "50%"; see parseLevel().
  std::optional<double> levelText(const char* key);
  std::optional<PlanTable> table(const char* key);
  std::vector<PlanTable> tables(const char* key);

  /// Refuses the table for a reason.
  [[noreturn]] void refuse(const std::string& why) const;
  /// Refuses keys that nobody has asked for.
  void refuseOthers() const;

 private:
  const toml::node* find(const char* key);
  [[noreturn]] void refuse(const toml::source_region& place, const std::string& what) const;
  [[noreturn]] void refuseValue(const char* key, const std::string& wanted) const;

  const toml::table* table_;
  std::string file_;
  std::set<std::string, std::less<>> known_;
};

}  // namespace orvik::ctl
