// SPDX-License-Identifier: MIT
#include <gst/gst.h>

#include "integrations/gstreamer/frame_meta.h"
#include "integrations/gstreamer/orvik_src.h"

static gboolean pluginInit(GstPlugin* plugin) {
  orvik::gst::registerFrameMeta();
  const gboolean hasSource =
      gst_element_register(plugin, "orviksrc", GST_RANK_NONE, orvik::gst::orvikSrcType());
  return hasSource && gst_device_provider_register(plugin, "orvikdeviceprovider", GST_RANK_PRIMARY,
                                                   orvik::gst::deviceProviderType());
}

#define PACKAGE "orvik"
GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, orvik, "USB astronomical cameras",
                  pluginInit, ORVIK_VERSION, "MIT/X11", "Orvik", "Orvik")
