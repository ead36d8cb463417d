// SPDX-License-Identifier: MIT
// The GObject side of orviksrc. An exception, which can only be one of lacking memory, ends the
// program, as GLib does then.
#include "integrations/gstreamer/orvik_src.h"

#include <gst/base/gstpushsrc.h>

#include "integrations/gstreamer/source.h"

using orvik::gst::Caps;
using orvik::gst::Source;

struct OrvikSrc {
  GstPushSrc parent;
  Source* source;
};
struct OrvikSrcClass {
  GstPushSrcClass parent;
};

G_DEFINE_TYPE(OrvikSrc, orvik_src, GST_TYPE_PUSH_SRC)

namespace {

Source& of(gpointer object) { return *static_cast<OrvikSrc*>(object)->source; }

GstStateChangeReturn changeState(GstElement* element, GstStateChange change) noexcept {
  Source& source = of(element);
  const bool opens = change == GST_STATE_CHANGE_NULL_TO_READY;
  if (opens && !source.open()) return GST_STATE_CHANGE_FAILURE;
  const auto result = GST_ELEMENT_CLASS(orvik_src_parent_class)->change_state(element, change);
  if (change == GST_STATE_CHANGE_PLAYING_TO_PAUSED) source.pause();
  const bool isOver = change == GST_STATE_CHANGE_READY_TO_NULL;
  if (isOver || (opens && result == GST_STATE_CHANGE_FAILURE)) source.close();
  return result;
}

gboolean query(GstBaseSrc* element, GstQuery* question) noexcept {
  if (GST_QUERY_TYPE(question) == GST_QUERY_LATENCY) return of(element).answerLatency(question);
  return GST_BASE_SRC_CLASS(orvik_src_parent_class)->query(element, question);
}

void describe(GObjectClass* object) {
  object->finalize = [](GObject* self) noexcept {
    delete &of(self);
    G_OBJECT_CLASS(orvik_src_parent_class)->finalize(self);
  };
  object->set_property = [](GObject* self, guint id, const GValue* value, GParamSpec*) noexcept {
    of(self).setProperty(id, value);
  };
  object->get_property = [](GObject* self, guint id, GValue* value, GParamSpec*) noexcept {
    of(self).getProperty(id, value);
  };
  Source::installProperties(object);
}

void describe(GstElementClass* element) {
  element->change_state = changeState;
  gst_element_class_set_static_metadata(element, "Orvik camera source", "Source/Video/Hardware",
                                        "Images of a USB astronomical camera", "The Orvik authors");
  const Caps caps(gst_caps_from_string(orvik::gst::kTemplateCaps));
  gst_element_class_add_pad_template(
      element, gst_pad_template_new("src", GST_PAD_SRC, GST_PAD_ALWAYS, caps.get()));
}

void describe(GstBaseSrcClass* base) {
  base->get_caps = [](GstBaseSrc* self, GstCaps* filter) noexcept {
    Caps caps = of(self).caps();
    if (filter == nullptr) return caps.release();
    return gst_caps_intersect_full(filter, caps.get(), GST_CAPS_INTERSECT_FIRST);
  };
  base->negotiate = [](GstBaseSrc* self) noexcept -> gboolean { return of(self).negotiate(); };
  base->decide_allocation = [](GstBaseSrc* self, GstQuery* question) noexcept {
    of(self).decideAllocation(question);
    return GST_BASE_SRC_CLASS(orvik_src_parent_class)->decide_allocation(self, question);
  };
  base->query = query;
  base->unlock = [](GstBaseSrc* self) noexcept -> gboolean { return of(self).setFlushing(true); };
  base->unlock_stop = [](GstBaseSrc* self) noexcept -> gboolean {
    return of(self).setFlushing(false);
  };
  base->stop = [](GstBaseSrc* self) noexcept -> gboolean { return of(self).reset(); };
}

}  // namespace

static void orvik_src_class_init(OrvikSrcClass* type) {
  describe(G_OBJECT_CLASS(type));
  describe(GST_ELEMENT_CLASS(type));
  describe(GST_BASE_SRC_CLASS(type));
  GST_PUSH_SRC_CLASS(type)->fill = [](GstPushSrc* self, GstBuffer* buffer) noexcept {
    return of(self).fill(buffer);
  };
}

static void orvik_src_init(OrvikSrc* self) {
  GstBaseSrc* const base = GST_BASE_SRC(self);
  self->source = new Source(base);
  gst_base_src_set_live(base, TRUE);
  gst_base_src_set_format(base, GST_FORMAT_TIME);
}

GType orvik::gst::orvikSrcType() { return orvik_src_get_type(); }
