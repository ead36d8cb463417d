// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <span>
#include <vector>

namespace orvik::sim {

using Picture = std::vector<std::uint8_t>;

/// What the board has sent and the host has not yet taken: pieces of pictures, in runs. A run ends
/// at the end of a frame, and its last packet may be short. A frame that is cut off leaves its run
/// open, and the bytes of the next frame follow in the same packet.
class Outbox {
 public:
  /// A piece of the oldest run.
  struct Piece {
    std::shared_ptr<const Picture> picture;
    std::span<const std::uint8_t> bytes;
    bool endsRun = false;
  };

  [[nodiscard]] bool empty() const { return bytes_ == 0; }
  /// In all runs.
  [[nodiscard]] std::size_t bytes() const { return bytes_; }
  /// Bytes of the oldest run if that has ended, else 0.
  [[nodiscard]] std::size_t wholeRun() const {
    return runs_.empty() || !runs_.front().ended ? 0 : runs_.front().bytes;
  }

  /// Adds the bytes from `begin` to `end` of a picture.
  void add(const std::shared_ptr<const Picture>& picture, std::size_t begin, std::size_t end) {
    if (begin == end) return;
    if (runs_.empty() || runs_.back().ended) runs_.emplace_back();
    Run& run = runs_.back();
    if (!run.parts.empty() && run.parts.back().picture == picture &&
        run.parts.back().end == begin) {
      run.parts.back().end = end;
    } else {
      run.parts.push_back({picture, begin, end});
    }
    run.bytes += end - begin;
    bytes_ += end - begin;
  }
  void endRun() {
    if (runs_.empty()) return;
    runs_.back().ended = true;
  }

  /// The next bytes, at most `most`, which is above 0. The outbox must not be empty.
  [[nodiscard]] Piece next(std::size_t most) const {
    const Run& run = runs_.front();
    const Part& part = run.parts.front();
    const std::size_t count = std::min(most, part.end - part.begin);
    return {.picture = part.picture,
            .bytes = std::span(*part.picture).subspan(part.begin, count),
            .endsRun = run.ended && count == run.bytes};
  }

  /// Removes what has been sent: at most what next() returned.
  void remove(std::size_t count) {
    bytes_ -= count;
    Run& run = runs_.front();
    Part& part = run.parts.front();
    part.begin += count;
    run.bytes -= count;
    if (part.begin == part.end) run.parts.pop_front();
    if (run.bytes == 0) runs_.pop_front();
  }

  void clear() {
    runs_.clear();
    bytes_ = 0;
  }

 private:
  struct Part {
    std::shared_ptr<const Picture> picture;
    std::size_t begin = 0;
    std::size_t end = 0;
  };
  struct Run {
    std::deque<Part> parts;
    std::size_t bytes = 0;
    bool ended = false;
  };

  std::deque<Run> runs_;
  std::size_t bytes_ = 0;
};

}  // namespace orvik::sim
