// SPDX-License-Identifier: MIT
#include "integrations/gstreamer/frame_meta.h"

#include "integrations/gstreamer/formats.h"

namespace orvik::gst {

void registerFrameMeta() {
  // Without tags and transform function: converters copy it to their output.
  static const char* const noTags[] = {nullptr};
  gst_meta_register_custom(kFrameMeta, const_cast<const gchar**>(noTags), nullptr, nullptr,
                           nullptr);
}

void addFrameMeta(GstBuffer* buffer, const Orvik_CAMERA_INFO& camera, const FrameInfo& info,
                  std::int64_t number, std::int64_t lost) {
  GstCustomMeta* const meta = gst_buffer_add_custom_meta(buffer, kFrameMeta);
  if (meta == nullptr) return;
  GstStructure* const facts = gst_custom_meta_get_structure(meta);
  gst_structure_set(facts, "frame-number", G_TYPE_INT64, number, "lost-before", G_TYPE_INT64, lost,
                    "exposure-time", G_TYPE_INT64, info.exposureUs, "gain", G_TYPE_INT, info.gain,
                    "black-level", G_TYPE_INT, info.blackLevel, "exposure-start", G_TYPE_INT64,
                    info.exposureStart, "exposure-end", G_TYPE_INT64, info.exposureEnd, "last-byte",
                    G_TYPE_INT64, info.lastByte, "uncertainty", G_TYPE_INT64, info.uncertainty,
                    "utc-offset", G_TYPE_INT64, info.utcOffset, "bin", G_TYPE_INT, info.bin,
                    "start-x", G_TYPE_INT, info.startX, "start-y", G_TYPE_INT, info.startY, "flip",
                    G_TYPE_INT, info.flip, "settled", G_TYPE_BOOLEAN, info.settled == Orvik_TRUE,
                    nullptr);
  if (const auto celsius = info.celsius()) {
    gst_structure_set(facts, "temperature", G_TYPE_DOUBLE, *celsius, nullptr);
  }
  if (const auto mosaic = imageMosaic(camera, info)) {
    gst_structure_set(facts, "mosaic", G_TYPE_STRING, mosaicName(*mosaic), nullptr);
  }

  static GstStaticCaps utc = GST_STATIC_CAPS("timestamp/x-unix");
  GstCaps* const reference = gst_static_caps_get(&utc);
  gst_buffer_add_reference_timestamp_meta(
      buffer, reference, static_cast<GstClockTime>(info.exposureStart + info.utcOffset),
      static_cast<GstClockTime>(info.exposureUs) * GST_USECOND);
  gst_caps_unref(reference);
}

}  // namespace orvik::gst
