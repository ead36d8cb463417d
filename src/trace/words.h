// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <string_view>

#include "seam/usb_host.h"

// The words in a recording for the values of seam/usb_host.h.
namespace orvik::trace {

template <typename T>
struct Word {
  std::string_view text;
  T value;
};

inline constexpr std::array kStatusWords = {
    Word<seam::TransferStatus>{"ok", seam::TransferStatus::kOk},
    Word<seam::TransferStatus>{"cancelled", seam::TransferStatus::kCancelled},
    Word<seam::TransferStatus>{"timeout", seam::TransferStatus::kTimedOut},
    Word<seam::TransferStatus>{"stalled", seam::TransferStatus::kStalled},
    Word<seam::TransferStatus>{"overflow", seam::TransferStatus::kOverflow},
    Word<seam::TransferStatus>{"gone", seam::TransferStatus::kNoDevice},
    Word<seam::TransferStatus>{"nomemory", seam::TransferStatus::kNoMemory},
    Word<seam::TransferStatus>{"error", seam::TransferStatus::kError},
};

inline constexpr std::array kSpeedWords = {
    Word<seam::Speed>{"unknown", seam::Speed::kUnknown},
    Word<seam::Speed>{"low", seam::Speed::kLow},
    Word<seam::Speed>{"full", seam::Speed::kFull},
    Word<seam::Speed>{"high", seam::Speed::kHigh},
    Word<seam::Speed>{"super", seam::Speed::kSuper},
};

template <typename T, std::size_t kCount>
constexpr std::string_view wordOf(const std::array<Word<T>, kCount>& words, T value) {
  for (const Word<T>& word : words) {
    if (word.value == value) return word.text;
  }
  return "?";
}

template <typename T, std::size_t kCount>
constexpr bool valueOf(const std::array<Word<T>, kCount>& words, std::string_view text, T& value) {
  for (const Word<T>& word : words) {
    if (word.text != text) continue;
    value = word.value;
    return true;
  }
  return false;
}

}  // namespace orvik::trace
