// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace orvik::imaging {

/// A file name with at most one place for a number: `%d`, or `%04d` for four digits and more.
class NamePattern {
 public:
  /// @throws NameError for anything else after a '%'; a plain '%' is written "%%"
  explicit NamePattern(const std::string& text);

  [[nodiscard]] bool isNumbered() const { return numbered_; }

  /// The name of file `number`, 0 or more; always the same one if the name has no number.
  [[nodiscard]] std::filesystem::path name(std::int64_t number) const;

 private:
  std::string before_;
  std::string after_;
  bool numbered_ = false;
  std::size_t digits_ = 0;
};

}  // namespace orvik::imaging
