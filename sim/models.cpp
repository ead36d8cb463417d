// SPDX-License-Identifier: MIT
#include "sim/models.h"

#include <array>

#include "seam/identity.h"

namespace orvik::sim {
namespace {

using namespace identity;

/// What a kind of sensor brings to every camera that is built around it.
struct SensorSheet {
  BoardKind board;
  BoardFeatures features;
  int width;
  int height;
  PixelPhysics pixel;
  bool thermometer = true;
};

/// The converter's top lies a little below the full well, so that a bright star ends in white.
constexpr PixelPhysics pixelOf(double fullWell, double readNoise, double darkCurrent) {
  return {.fullWell = fullWell,
          .fullScale = fullWell / 1.05,
          .readNoise = readNoise,
          .darkCurrent = darkCurrent};
}

constexpr BoardFeatures kBinningAndFast = {.averages2x2 = true, .fastConversion = true};
constexpr BoardFeatures kBinningFastAndTrimmed = {
    .averages2x2 = true, .fastConversion = true, .manyTrims = true};
constexpr BoardFeatures kBinningOnly = {.averages2x2 = true};
constexpr BoardFeatures kFastOnly = {.fastConversion = true};

// The cameras with an FPGA that marks each frame.
constexpr SensorSheet k1304x976 = {BoardKind::kMarkedFrames, kBinningFastAndTrimmed, 1304, 976,
                                   pixelOf(14700, 2.2, 0.1)};
constexpr SensorSheet k1944x1224 = {BoardKind::kMarkedFrames, kBinningAndFast, 1944, 1224,
                                    pixelOf(14700, 2.0, 0.1)};
constexpr SensorSheet k3096x2080 = {BoardKind::kMarkedFrames, kBinningAndFast, 3096, 2080,
                                    pixelOf(14400, 1.8, 0.05)};
constexpr SensorSheet k1936x1216 = {BoardKind::kMarkedFrames, kFastOnly, 1936, 1216,
                                    pixelOf(32000, 6.0, 0.6)};
constexpr SensorSheet kSmallPixels = {BoardKind::kMarkedFrames, kFastOnly, 1944, 1224,
                                      pixelOf(8100, 2.6, 0.1)};
constexpr SensorSheet k4944x3284 = {BoardKind::kMarkedFrames, kBinningOnly, 4944, 3284,
                                    pixelOf(40000, 3.2, 0.15)};
constexpr SensorSheet k6036x4032 = {BoardKind::kMarkedFrames, kBinningOnly, 6036, 4032,
                                    pixelOf(60000, 3.5, 0.2)};
constexpr SensorSheet k7380x4928 = {BoardKind::kMarkedFrames, kBinningOnly, 7380, 4928,
                                    pixelOf(60000, 3.0, 0.2)};

// The older cameras, whose sensors time themselves.
constexpr PixelPhysics kOldSmallPixel = pixelOf(13000, 6.0, 0.8);
constexpr PixelPhysics kOldLargePixel = pixelOf(30000, 14.0, 4.0);

constexpr BoardFeatures kWide = {.wideOutput = true};
constexpr BoardFeatures kWideColour = {.wideOutput = true, .colourGains = true};
constexpr BoardFeatures kWideOverClock = {.wideOutput = true, .overClock = true};
constexpr BoardFeatures kWideColourOverClock = {
    .wideOutput = true, .overClock = true, .colourGains = true};

constexpr SensorSheet kT01 = {BoardKind::kRegisterSensor, {}, 640, 480, kOldLargePixel, false};
constexpr SensorSheet kT02 = {BoardKind::kCommandSensor, {}, 728, 512, kOldLargePixel, false};
constexpr SensorSheet kT03 = {BoardKind::kRegisterSensor, {}, 752, 480, kOldLargePixel, false};
constexpr SensorSheet kT06M = {BoardKind::kRegisterSensor, kWide, 1280, 960, kOldSmallPixel};
constexpr SensorSheet kT06C = {BoardKind::kRegisterSensor, kWideColour, 1280, 960, kOldSmallPixel};
constexpr SensorSheet kT06MS = {BoardKind::kRegisterSensor, kWideOverClock, 1280, 960,
                                kOldSmallPixel};
constexpr SensorSheet kT06CS = {BoardKind::kRegisterSensor, kWideColourOverClock, 1280, 960,
                                kOldSmallPixel};
constexpr SensorSheet kT08 = {BoardKind::kRegisterSensor, kWide, 1280, 1024,
                              pixelOf(26000, 11.0, 2.0),  false};

constexpr Model camera(const char* code, const char* displayName, std::uint16_t productId,
                       const SensorSheet& sheet, Mosaic mosaic, bool cooled = false) {
  return {.code = code,
          .displayName = displayName,
          .productId = productId,
          .board = sheet.board,
          .features = sheet.features,
          .sensor = {.width = sheet.width, .height = sheet.height, .mosaic = mosaic},
          .pixel = sheet.pixel,
          .cooled = cooled,
          .thermometer = sheet.thermometer};
}

constexpr Model cooledCamera(const char* code, const char* displayName, std::uint16_t productId,
                             const SensorSheet& sheet, Mosaic mosaic) {
  return camera(code, displayName, productId, sheet, mosaic, true);
}

// Three products of one model: "-A", "-B" and the plain one, whose ID ends in _C. A code that ends
// in _C is not one of them but the cooled model.
constexpr std::array kModels = {
    camera("T01C", "Vek T01C", PID_T01C, kT01, Mosaic::kGr),
    camera("T02C", "Vek T02C", PID_T02C_C, kT02, Mosaic::kBg),
    camera("T02C_A", "Vek T02C-A", PID_T02C_A, kT02, Mosaic::kBg),
    camera("T02C_B", "Vek T02C-B", PID_T02C_B, kT02, Mosaic::kBg),
    camera("T03C", "Vek T03C", PID_T03C_C, kT03, Mosaic::kGb),
    camera("T03C_A", "Halvard T03C-A", PID_T03C_A, kT03, Mosaic::kGb),
    camera("T03C_B", "Halvard T03C-B", PID_T03C_B, kT03, Mosaic::kGb),
    camera("T03M", "Vek T03M", PID_T03M_C, kT03, Mosaic::kMono),
    camera("T03M_A", "Halvard T03M-A", PID_T03M_A, kT03, Mosaic::kMono),
    camera("T03M_B", "Halvard T03M-B", PID_T03M_B, kT03, Mosaic::kMono),
    cooledCamera("T04C", "Vek T04C COOL", PID_T04C, k4944x3284, Mosaic::kRg),
    cooledCamera("T05C", "Vek T05C COOL", PID_T05C, k7380x4928, Mosaic::kRg),
    camera("T06C", "Vek T06C", PID_T06C, kT06C, Mosaic::kGr),
    camera("T06C_S", "Vek T06C-S", PID_T06C_S, kT06CS, Mosaic::kGr),
    camera("T06C_SC", "Vek T06C-SC", PID_T06C_SC, kT06CS, Mosaic::kGr),
    camera("T06M", "Vek T06M", PID_T06M, kT06M, Mosaic::kMono),
    camera("T06M_S", "Vek T06M-S", PID_T06M_S, kT06MS, Mosaic::kMono),
    camera("T06M_SC", "Vek T06M-SC", PID_T06M_SC, kT06MS, Mosaic::kMono),
    cooledCamera("T07C", "Vek T07C COOL", PID_T07C, k6036x4032, Mosaic::kRg),
    camera("T08M", "Vek T08M", PID_T08M, kT08, Mosaic::kMono),
    camera("T09C", "Vek T09C", PID_T09C_C, kSmallPixels, Mosaic::kBg),
    camera("T09C_A", "Vek T09C-A", PID_T09C_A, kSmallPixels, Mosaic::kBg),
    camera("T09C_B", "Vek T09C-B", PID_T09C_B, kSmallPixels, Mosaic::kBg),
    camera("T10C", "Vek T10C", PID_T10C, k1936x1216, Mosaic::kRg),
    cooledCamera("T10C_C", "Vek T10C COOL", PID_T10C_C, k1936x1216, Mosaic::kRg),
    camera("T10M", "Vek T10M", PID_T10M_C, k1936x1216, Mosaic::kMono),
    camera("T10M_A", "Vek T10M-A", PID_T10M_A, k1936x1216, Mosaic::kMono),
    camera("T10M_B", "Vek T10M-B", PID_T10M_B, k1936x1216, Mosaic::kMono),
    cooledCamera("T10M_C", "Vek T10M COOL", PID_T10M_COOL, k1936x1216, Mosaic::kMono),
    camera("T11C", "Vek T11C", PID_T11C, k3096x2080, Mosaic::kRg),
    cooledCamera("T11C_C", "Vek T11C COOL", PID_T11C_C, k3096x2080, Mosaic::kRg),
    camera("T12C", "Vek T12C", PID_T12C, k1944x1224, Mosaic::kGb),
    cooledCamera("T12C_C", "Vek T12C COOL", PID_T12C_C, k1944x1224, Mosaic::kGb),
    camera("T13C", "Vek T13C", PID_T13C, k1304x976, Mosaic::kGr),
    cooledCamera("T13C_C", "Vek T13C COOL", PID_T13C_C, k1304x976, Mosaic::kGr),
    camera("T14C", "Vek T14C", PID_T14C, k1304x976, Mosaic::kBg),
    camera("T15C", "Vek T15C", PID_T15C, k1304x976, Mosaic::kRg),
};

}  // namespace

std::span<const Model> models() { return kModels; }

const Model* findModel(std::string_view code) {
  for (const Model& model : kModels) {
    if (code == model.code) return &model;
  }
  return nullptr;
}

}  // namespace orvik::sim
