// SPDX-License-Identifier: MIT
#include "imaging/output.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <system_error>

#include "imaging/errors.h"

namespace orvik::imaging {
namespace fs = std::filesystem;
namespace {

std::string lowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](char letter) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  });
  return text;
}

std::optional<OutputFormat> formatNamed(std::string_view name) {
  const auto* const found = std::ranges::find(kOutputFormatNames, name);
  if (found == kOutputFormatNames.end()) return std::nullopt;
  return static_cast<OutputFormat>(found - kOutputFormatNames.begin());
}

}  // namespace

std::optional<OutputFormat> formatOfExtension(const fs::path& file) {
  const std::string extension = lowerCase(file.extension().string());
  if (extension == ".fit" || extension == ".fts") return OutputFormat::kFits;
  return extension.empty() ? std::nullopt : formatNamed(std::string_view(extension).substr(1));
}

Output parseOutput(const std::string& name, std::string_view format) {
  const bool isStandardOutput = name == "-" || name == "/dev/stdout";
  const auto byName = isStandardOutput ? std::nullopt : formatOfExtension(name);
  const auto byOption = formatNamed(format);
  if (!format.empty() && !byOption) {
    throw NameError(name + ": there is no format " + std::string(format) + ".");
  }
  if (byName && byOption && *byName != *byOption) {
    throw NameError(name + ": the extension names another format than " + std::string(format) +
                    ".");
  }
  const auto chosen = byName ? byName : byOption;
  if (!chosen) {
    throw NameError(isStandardOutput
                        ? "-: choose the format of standard output with --format."
                        : name +
                              ": the extension chooses the format; use .png, .fits, .ser or "
                              ".raw, or --format.");
  }
  std::error_code ignored;
  return {.name = isStandardOutput ? "-" : name,
          .format = *chosen,
          .isStream = isStandardOutput || fs::is_fifo(name, ignored)};
}

}  // namespace orvik::imaging
