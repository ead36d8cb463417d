// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace orvik::imaging {

/// What is written of the frames.
enum class OutputFormat : std::uint8_t {
  kFits,  ///< an image for each frame
  kPng,   ///< an image for each frame
  kSer,   ///< a video with time stamps
  kRaw,   ///< the bytes of the frames, one after the other
};

/// The names of the formats, in the order of their numbers.
inline constexpr std::array<std::string_view, 4> kOutputFormatNames = {"fits", "png", "ser", "raw"};

/// Where frames go, and how they are written.
struct Output {
  std::string name;  ///< as typed: a file name, a pattern of a series, a FIFO; "-" standard output
  OutputFormat format = OutputFormat::kFits;
  bool isStream = false;  ///< standard output or a FIFO: there is no way back in it

  [[nodiscard]] bool isStandardOutput() const { return name == "-"; }
  /// Whether each frame has a file of its own.
  [[nodiscard]] bool isSeries() const {
    return !isStream && (format == OutputFormat::kFits || format == OutputFormat::kPng);
  }
};

/// The format that a file's extension names, in capitals or not.
std::optional<OutputFormat> formatOfExtension(const std::filesystem::path& file);

/// Reads an output as the user types it.
///
/// @param name "-", or a path whose extension chooses the format: .fits, .fit, .fts, .png, .ser,
/// .raw
/// @param format for "-" and a name without such an extension; "" for none
/// @throws NameError if neither says the format, or they contradict each other
Output parseOutput(const std::string& name, std::string_view format = {});

}  // namespace orvik::imaging
