// SPDX-License-Identifier: MIT
#pragma once

#include <gst/gst.h>

#include <memory>
#include <string>

#include "orvik/orvik.hpp"

namespace orvik::gst {

struct UnrefCaps {
  void operator()(GstCaps* caps) const { gst_caps_unref(caps); }
};
using Caps = std::unique_ptr<GstCaps, UnrefCaps>;

/// A frame rate as caps name it; 0/1 if it varies.
struct Rate {
  int numerator = 0;
  int denominator = 1;
  static Rate of(double framesPerSecond);
  [[nodiscard]] double perSecond() const { return double(numerator) / denominator; }
  friend bool operator==(const Rate&, const Rate&) = default;
};

/// Whether a rate is that of another, but for a rounding, or higher.
inline bool isAsFast(double rate, double other) { return rate >= other * 0.995; }

/// "rggb" and so on.
const char* mosaicName(BayerPattern pattern);

/// Everything that a camera may deliver, as text.
extern const char* const kTemplateCaps;

/// What a camera delivers with this bin and flip: one structure for each image type, the preferred
/// one first.
Caps cameraCaps(const Orvik_CAMERA_INFO& camera, int bin, int flip);

/// The image type that a structure of cameraCaps() names.
IMG_TYPE imageType(const Orvik_CAMERA_INFO& camera, const GstStructure* structure);

/// The caps of images.
/// @param mosaic order of the colours, for a raw image of a colour camera
Caps imageCaps(const Orvik_CAMERA_INFO& camera, const ImageFormat& format, BayerPattern mosaic,
               Rate rate);

/// Text of caps, for messages.
std::string textOf(const GstCaps* caps);

}  // namespace orvik::gst
