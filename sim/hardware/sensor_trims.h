// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>

namespace orvik::sim {

/// What a trim register of a sensor sets, and so what goes wrong while it has another value.
enum class TrimStage : std::uint8_t {
  kReference,  ///< the black reference: all samples lie far too high
  kColumns,    ///< the column amplifiers: each column has an offset of its own
  kConverter,  ///< the converter's ramp: only a part of its range is used
};

/// A register that, according to the sensor's maker, needs a value found by measurement. After
/// power-up it has another.
struct Trim {
  std::uint16_t address = 0;
  std::uint8_t value = 0;
  TrimStage stage = TrimStage::kReference;
};

/// Of every byte-register sensor.
inline constexpr std::array kCommonTrims = {
    Trim{0x300F, 0x00, TrimStage::kReference}, Trim{0x3016, 0x08, TrimStage::kReference},
    Trim{0x3036, 0x08, TrimStage::kReference}, Trim{0x309E, 0x22, TrimStage::kColumns},
    Trim{0x3144, 0x07, TrimStage::kConverter}, Trim{0x329C, 0x0C, TrimStage::kConverter},
};

/// Of the sensors of 1304 x 976 pixels, beyond the common ones.
inline constexpr std::array kTrims1304 = {
    Trim{0x3012, 0x2C, TrimStage::kReference}, Trim{0x3013, 0x01, TrimStage::kReference},
    Trim{0x301D, 0xC2, TrimStage::kReference}, Trim{0x3070, 0x02, TrimStage::kReference},
    Trim{0x3071, 0x01, TrimStage::kReference}, Trim{0x30A5, 0xFB, TrimStage::kColumns},
    Trim{0x30A6, 0x02, TrimStage::kColumns},   Trim{0x30B3, 0xFF, TrimStage::kColumns},
    Trim{0x30B4, 0x01, TrimStage::kColumns},   Trim{0x30B5, 0x42, TrimStage::kColumns},
    Trim{0x30C2, 0x01, TrimStage::kColumns},   Trim{0x310F, 0x0F, TrimStage::kColumns},
    Trim{0x3110, 0x0E, TrimStage::kColumns},   Trim{0x3111, 0xE7, TrimStage::kColumns},
    Trim{0x3112, 0x9C, TrimStage::kColumns},   Trim{0x3113, 0x83, TrimStage::kColumns},
    Trim{0x3114, 0x10, TrimStage::kColumns},   Trim{0x3115, 0x42, TrimStage::kColumns},
    Trim{0x3128, 0x1E, TrimStage::kColumns},   Trim{0x31ED, 0x38, TrimStage::kConverter},
    Trim{0x320C, 0xCF, TrimStage::kConverter}, Trim{0x324C, 0x40, TrimStage::kConverter},
    Trim{0x324D, 0x03, TrimStage::kConverter}, Trim{0x3261, 0xE0, TrimStage::kConverter},
    Trim{0x3262, 0x02, TrimStage::kConverter}, Trim{0x326E, 0x2F, TrimStage::kConverter},
    Trim{0x326F, 0x30, TrimStage::kConverter}, Trim{0x3270, 0x03, TrimStage::kConverter},
    Trim{0x3298, 0x00, TrimStage::kConverter}, Trim{0x329A, 0x12, TrimStage::kConverter},
    Trim{0x329B, 0xE1, TrimStage::kConverter},
};

}  // namespace orvik::sim
