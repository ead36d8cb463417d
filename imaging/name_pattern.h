// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
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

  /// A name for the series as a whole: "m42-%04d.fits" gives "m42.fits", "%d.fits" "series.fits".
  [[nodiscard]] std::filesystem::path nameWithoutNumber() const;

  /// The number after the highest one that a file has, 1 if there is none. The number has to stand
  /// in the file's name, not in that of its folder.
  [[nodiscard]] std::int64_t nextNumber() const;

 private:
  [[nodiscard]] std::optional<std::int64_t> numberOf(const std::string& fileName) const;

  std::string before_;
  std::string after_;
  bool numbered_ = false;
  std::size_t digits_ = 0;
};

}  // namespace orvik::imaging
