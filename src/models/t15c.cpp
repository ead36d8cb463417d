// SPDX-License-Identifier: MIT
#include "models/t15c.h"

#include <array>

namespace orvik {
namespace {

constexpr std::array kProductIds = {identity::PID_T15C};

constexpr std::array kControls = {
    Orvik_CTL_GAIN,
    Orvik_CTL_EXPOSURE,
    Orvik_CTL_GAMMA,
    Orvik_CTL_WB_R,
    Orvik_CTL_WB_B,
    Orvik_CTL_BRIGHTNESS,
    Orvik_CTL_BANDWIDTH,
    Orvik_CTL_TEMPERATURE,
    Orvik_CTL_FLIP,
    Orvik_CTL_AUTO_EXP_MAX_GAIN,
    Orvik_CTL_AUTO_EXP_MAX_EXP,
    Orvik_CTL_AUTO_EXP_MAX_BRIGHTNESS,
    Orvik_CTL_HARDWARE_BIN,
    Orvik_CTL_HIGH_SPEED_MODE,
};

constexpr std::array<InitStep, 38> kInitTable = {{
    {0x3003, 0x01}, {InitStep::kSleep, 20}, {0x300F, 0x00}, {0x3012, 0x2C}, {0x3013, 0x01},
    {0x3016, 0x08}, {0x301D, 0xC2},         {0x3070, 0x02}, {0x3071, 0x01}, {0x309E, 0x22},
    {0x30A5, 0xFB}, {0x30A6, 0x02},         {0x30B3, 0xFF}, {0x30B4, 0x01}, {0x30B5, 0x42},
    {0x30C2, 0x01}, {0x310F, 0x0F},         {0x3110, 0x0E}, {0x3111, 0xE7}, {0x3112, 0x9C},
    {0x3113, 0x83}, {0x3114, 0x10},         {0x3115, 0x42}, {0x3128, 0x1E}, {0x3144, 0x07},
    {0x31ED, 0x38}, {0x320C, 0xCF},         {0x324C, 0x40}, {0x324D, 0x03}, {0x3261, 0xE0},
    {0x3262, 0x02}, {0x326E, 0x2F},         {0x326F, 0x30}, {0x3270, 0x03}, {0x3298, 0x00},
    {0x329A, 0x12}, {0x329B, 0xE1},         {0x329C, 0x0C},
}};

constexpr MarkedModel kMarked = {
    .initTable = kInitTable,
    .keepsSensorAwake = false,
    .autoMaxGain = 300,
    .clockAtStartKhz = 9281,
    .lineLengthAtStart = 292,
};

MarkedModelShared shared;

}  // namespace

constexpr ModelRow CCameraT15C::kRow = {
    .name = "Vek T15C",
    .settingsKey = L"SOFTWARE\\T15C",
    .productIds = kProductIds,
    .maxWidth = 1304,
    .maxHeight = 976,
    .pixelSizeUm = 3.75,
    .colour = true,
    .bayer = BAYER_RG,
    .cooled = false,
    .usb3 = true,
    .bins = {1, 2, 3, 4},
    .imageTypes = {.raw8 = true, .rgb24 = true, .y8 = true, .raw16 = true},
    .gain = {.defaultValue = 200, .max = 600, .min = 0},
    .exposureUs = {.defaultValue = 10000, .max = 1'000'000'000, .min = 32},
    .gamma = {.defaultValue = 50, .max = 100, .min = 1},
    .whiteBalanceRedDefault = 52,
    .whiteBalanceBlueDefault = 95,
    .whiteBalanceMax = 99,
    .whiteBalanceMin = 1,
    .brightness = {.defaultValue = 1, .max = 240, .min = 0},
    .bandwidthMin = 40,
    .bandwidthMax = 100,
    .bandwidthAutoSupported = true,
    .hardwareBinAtStart = true,
    .controls = kControls,
};

CCameraT15C::CCameraT15C()
    : MarkedFrameCamera(kRow, kMarked, shared, identity::classOfProduct(identity::PID_T15C)) {}

}  // namespace orvik
