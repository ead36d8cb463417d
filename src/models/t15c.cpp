// SPDX-License-Identifier: MIT
#include "models/t15c.h"

#include <array>

#include "models/sensor_1304.h"

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
    : MarkedFrameCamera(kRow, kMarked1304, shared, identity::classOfProduct(identity::PID_T15C)) {}

}  // namespace orvik
