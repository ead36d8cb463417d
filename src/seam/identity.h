// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>

/// The USB identities of the cameras. Development values: a maker sets its own here and nowhere
/// else.
namespace orvik::identity {

inline constexpr std::uint16_t kVendorId = 0x4F56;

inline constexpr std::uint16_t PID_T01C = 0x0100;
inline constexpr std::uint16_t PID_T02C_A = 0x0200;
inline constexpr std::uint16_t PID_T02C_B = 0x0201;
inline constexpr std::uint16_t PID_T02C_C = 0x0202;
inline constexpr std::uint16_t PID_T03C_A = 0x0300;
inline constexpr std::uint16_t PID_T03C_B = 0x0301;
inline constexpr std::uint16_t PID_T03C_C = 0x0302;
inline constexpr std::uint16_t PID_T03M_A = 0x0340;
inline constexpr std::uint16_t PID_T03M_B = 0x0341;
inline constexpr std::uint16_t PID_T03M_C = 0x0342;
inline constexpr std::uint16_t PID_T04C = 0x0480;
inline constexpr std::uint16_t PID_T05C = 0x0580;
inline constexpr std::uint16_t PID_T06C = 0x0600;
inline constexpr std::uint16_t PID_T06C_S = 0x0620;
inline constexpr std::uint16_t PID_T06C_SC = 0x0621;
inline constexpr std::uint16_t PID_T06M = 0x0640;
inline constexpr std::uint16_t PID_T06M_S = 0x0660;
inline constexpr std::uint16_t PID_T06M_SC = 0x0661;
inline constexpr std::uint16_t PID_T07C = 0x0780;
inline constexpr std::uint16_t PID_T08M = 0x0840;
inline constexpr std::uint16_t PID_T09C_A = 0x0900;
inline constexpr std::uint16_t PID_T09C_B = 0x0901;
inline constexpr std::uint16_t PID_T09C_C = 0x0902;
inline constexpr std::uint16_t PID_T10C = 0x1000;
inline constexpr std::uint16_t PID_T10M_A = 0x1040;
inline constexpr std::uint16_t PID_T10M_B = 0x1041;
inline constexpr std::uint16_t PID_T10M_C = 0x1042;  ///< a T10M; the cooled T10M_C is below
inline constexpr std::uint16_t PID_T10C_C = 0x1080;
inline constexpr std::uint16_t PID_T10M_COOL = 0x10C0;  ///< the T10M_C
inline constexpr std::uint16_t PID_T11C = 0x1100;
inline constexpr std::uint16_t PID_T11C_C = 0x1180;
inline constexpr std::uint16_t PID_T12C = 0x1200;
inline constexpr std::uint16_t PID_T12C_C = 0x1280;
inline constexpr std::uint16_t PID_T13C = 0x1300;
inline constexpr std::uint16_t PID_T13C_C = 0x1380;
inline constexpr std::uint16_t PID_T14C = 0x1400;
inline constexpr std::uint16_t PID_T15C = 0x1500;

/// The driver's device-interface classes, in the order in which cameras are enumerated.
inline constexpr int kClassCount = 10;

/// The class of those of the maker's devices whose product ID is in no other class.
inline constexpr int kCatchAllClass = 9;

struct ProductClass {
  std::uint16_t productId;
  std::uint8_t deviceClass;  ///< 0 to 9
};

inline constexpr std::array kProducts = {
    ProductClass{PID_T01C, 0},    ProductClass{PID_T02C_A, 1},    ProductClass{PID_T02C_B, 1},
    ProductClass{PID_T02C_C, 1},  ProductClass{PID_T03C_A, 2},    ProductClass{PID_T03C_B, 2},
    ProductClass{PID_T03C_C, 2},  ProductClass{PID_T03M_A, 2},    ProductClass{PID_T03M_B, 2},
    ProductClass{PID_T03M_C, 2},  ProductClass{PID_T06C, 3},      ProductClass{PID_T06M, 3},
    ProductClass{PID_T06C_S, 3},  ProductClass{PID_T06C_SC, 3},   ProductClass{PID_T06M_S, 3},
    ProductClass{PID_T06M_SC, 3}, ProductClass{PID_T08M, 3},      ProductClass{PID_T04C, 4},
    ProductClass{PID_T05C, 4},    ProductClass{PID_T07C, 4},      ProductClass{PID_T09C_A, 5},
    ProductClass{PID_T09C_B, 5},  ProductClass{PID_T09C_C, 5},    ProductClass{PID_T10C, 6},
    ProductClass{PID_T10M_A, 6},  ProductClass{PID_T10M_B, 6},    ProductClass{PID_T10M_C, 6},
    ProductClass{PID_T10C_C, 6},  ProductClass{PID_T10M_COOL, 6}, ProductClass{PID_T11C, 7},
    ProductClass{PID_T11C_C, 7},  ProductClass{PID_T12C, 8},      ProductClass{PID_T12C_C, 8},
    ProductClass{PID_T13C, 9},    ProductClass{PID_T13C_C, 9},    ProductClass{PID_T14C, 9},
    ProductClass{PID_T15C, 9},
};

/// A 16-byte class GUID in canonical byte order (as written, left to right).
using Guid = std::array<std::uint8_t, 16>;

/// {6F72766B-0000-4000-8000-00000000000n} for class n.
constexpr Guid classGuid(int deviceClass) {
  return {0x6F, 0x72, 0x76, 0x6B, 0, 0, 0x40, 0,
          0x80, 0,    0,    0,    0, 0, 0,    static_cast<std::uint8_t>(deviceClass)};
}

/// @return the class with this GUID, or -1.
constexpr int classOf(const Guid& guid) {
  for (int n = 0; n < kClassCount; ++n) {
    if (guid == classGuid(n)) return n;
  }
  return -1;
}

/// The class of a device of the maker with this product ID.
constexpr int classOfProduct(std::uint16_t productId) {
  for (const ProductClass& product : kProducts) {
    if (product.productId == productId) return product.deviceClass;
  }
  return kCatchAllClass;
}

}  // namespace orvik::identity
