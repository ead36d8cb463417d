// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <utility>
#include <vector>

#include "imaging/frame_sink.h"
#include "imaging/name_pattern.h"

namespace orvik::bench {

/// PNG files of grey images as libpng writes them, with zlib: what ours are compared with.
class LibpngWriter final : public imaging::FrameSink {
 public:
  /// @param level of zlib, 0 to 9
  LibpngWriter(imaging::NamePattern pattern, int level)
      : pattern_(std::move(pattern)), level_(level) {}

  void write(const imaging::Image& image) override;
  void finish() override {}
  [[nodiscard]] std::vector<std::filesystem::path> files() const override { return files_; }

 private:
  imaging::NamePattern pattern_;
  int level_;
  std::vector<std::filesystem::path> files_;
};

}  // namespace orvik::bench
