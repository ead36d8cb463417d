// SPDX-License-Identifier: MIT
#include "integrations/gstreamer/formats.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <numeric>
#include <string>
#include <string_view>
#include <vector>

namespace orvik::gst {
namespace {

#define ORVIK_SIZES                                                                       \
  "width = (int) [ 4, 2147483644, 4 ], height = (int) [ 2, 2147483646, 2 ], framerate = " \
  "(fraction) [ 0/1, 2147483647/1 ]"

// 16-bit mosaics have no name in video/x-bayer before GStreamer 1.24: they are GRAY16_LE.
struct Layout {
  const char* media;
  const char* format;
};

Layout layoutOf(const Orvik_CAMERA_INFO& camera, IMG_TYPE type, BayerPattern mosaic) {
  const bool isMosaic = type == Orvik_IMG_RAW8 && camera.colour == Orvik_TRUE;
  if (isMosaic) return {"video/x-bayer", mosaicName(mosaic)};
  if (type == Orvik_IMG_RGB24) return {"video/x-raw", "BGR"};
  return {"video/x-raw", type == Orvik_IMG_RAW16 ? "GRAY16_LE" : "GRAY8"};
}

bool offers(const Orvik_CAMERA_INFO& camera, IMG_TYPE type) {
  const auto* const end =
      std::find(std::begin(camera.imageTypes), std::end(camera.imageTypes), Orvik_IMG_END);
  return std::find(std::begin(camera.imageTypes), end, type) != end;
}

/// The type that is delivered as GRAY8.
IMG_TYPE greyType(const Orvik_CAMERA_INFO& camera) {
  const bool isRaw = camera.colour != Orvik_TRUE && offers(camera, Orvik_IMG_RAW8);
  return isRaw ? Orvik_IMG_RAW8 : Orvik_IMG_Y8;
}

GstStructure* structureOf(const Layout& layout) {
  return gst_structure_new(layout.media, "format", G_TYPE_STRING, layout.format, nullptr);
}

void setRange(GstStructure* structure, const char* field, int largest, int step) {
  GValue range = G_VALUE_INIT;
  g_value_init(&range, GST_TYPE_INT_RANGE);
  gst_value_set_int_range_step(&range, step, std::max(largest / step, 2) * step, step);
  gst_structure_take_value(structure, field, &range);
}

}  // namespace

const char* const kTemplateCaps =
    "video/x-raw, format = (string) { BGR, GRAY8, GRAY16_LE }, " ORVIK_SIZES
    "; video/x-bayer, format = (string) { rggb, bggr, grbg, gbrg }, " ORVIK_SIZES;

Rate Rate::of(double framesPerSecond) {
  constexpr int kSecondUs = 1'000'000;
  if (framesPerSecond <= 0) return {};
  const double period = std::round(kSecondUs / framesPerSecond);
  const int periodUs = static_cast<int>(std::clamp(period, 1.0, 2e9));
  const int divisor = std::gcd(kSecondUs, periodUs);
  return {kSecondUs / divisor, periodUs / divisor};
}

const char* mosaicName(BayerPattern pattern) {
  constexpr std::array kNames{"rggb", "bggr", "grbg", "gbrg"};
  return kNames.at(static_cast<std::size_t>(pattern));
}

Caps cameraCaps(const Orvik_CAMERA_INFO& camera, int bin, int flip) {
  // Sizes are even, and so are the starts that orviksrc sets: the order of the colours is that of
  // the smallest region at the sensor's corner.
  const BayerPattern mosaic = imageMosaic(camera.bayer, flip, bin, 0, 0, 2, 2);
  std::vector<IMG_TYPE> types{greyType(camera), Orvik_IMG_RAW16};
  if (camera.colour == Orvik_TRUE) {
    types = {Orvik_IMG_RGB24, Orvik_IMG_RAW8, Orvik_IMG_RAW16, Orvik_IMG_Y8};
  }
  Caps caps(gst_caps_new_empty());
  for (const IMG_TYPE type : types) {
    if (!offers(camera, type)) continue;
    GstStructure* const structure = structureOf(layoutOf(camera, type, mosaic));
    setRange(structure, "width", camera.maxWidth / bin, 4);
    setRange(structure, "height", camera.maxHeight / bin, 2);
    gst_structure_set(structure, "framerate", GST_TYPE_FRACTION_RANGE, 0, 1, G_MAXINT, 1, nullptr);
    gst_caps_append_structure(caps.get(), structure);
  }
  return caps;
}

IMG_TYPE imageType(const Orvik_CAMERA_INFO& camera, const GstStructure* structure) {
  const char* const format = gst_structure_get_string(structure, "format");
  const std::string_view name = format != nullptr ? format : "";
  if (gst_structure_has_name(structure, "video/x-bayer")) return Orvik_IMG_RAW8;
  if (name == "BGR") return Orvik_IMG_RGB24;
  if (name == "GRAY16_LE") return Orvik_IMG_RAW16;
  return greyType(camera);
}

Caps imageCaps(const Orvik_CAMERA_INFO& camera, const ImageFormat& format, BayerPattern mosaic,
               Rate rate) {
  GstStructure* const structure = structureOf(layoutOf(camera, format.type, mosaic));
  gst_structure_set(structure, "width", G_TYPE_INT, format.width, "height", G_TYPE_INT,
                    format.height, "framerate", GST_TYPE_FRACTION, rate.numerator, rate.denominator,
                    nullptr);
  return Caps(gst_caps_new_full(structure, nullptr));
}

std::string textOf(const GstCaps* caps) {
  char* const text = gst_caps_to_string(caps);
  std::string copy(text);
  g_free(text);
  return copy;
}

}  // namespace orvik::gst
