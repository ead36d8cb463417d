// SPDX-License-Identifier: MIT
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace orvik::ctl {

/// Rows of text in columns as wide as their longest cell.
class Table {
 public:
  explicit Table(std::vector<std::string> heading) { rows_.push_back(std::move(heading)); }

  void add(std::vector<std::string> row) { rows_.push_back(std::move(row)); }
  void print(std::ostream& out) const;

 private:
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace orvik::ctl
