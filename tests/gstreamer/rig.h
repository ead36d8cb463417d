// SPDX-License-Identifier: MIT
#pragma once

#include <gst/check/gstharness.h>
#include <gst/gst.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "orvik/orvik.hpp"
#include "orvik/orvik_sim.h"

namespace orvik::gst::testing {

/// A test with virtual cameras and GStreamer, which sees the plugin and few others.
class GstTest : public ::testing::Test {
 protected:
  GstTest() {
    setenv("GST_PLUGIN_SYSTEM_PATH_1_0", OTHER_PLUGINS_DIR, 1);
    setenv("GST_PLUGIN_PATH_1_0", PLUGIN_DIR, 1);
    setenv("GST_REGISTRY_1_0", OTHER_PLUGINS_DIR "/registry", 1);
    setenv("GST_REGISTRY_FORK", "no", 1);
    gst_init(nullptr, nullptr);
  }
  ~GstTest() override { OrvikSimUnplugAll(); }

  static int plug(const char* model, const std::string& options = "") {
    const int id = OrvikSimPlug(model, options.c_str());
    EXPECT_GT(id, 0) << OrvikSimLastError();
    return id;
  }
};

struct Unref {
  void operator()(GstBuffer* buffer) const { gst_buffer_unref(buffer); }
  void operator()(GstMessage* message) const { gst_message_unref(message); }
};
using Message = std::unique_ptr<GstMessage, Unref>;

/// A buffer and the caps that were in force for it.
class Picture {
 public:
  Picture(GstBuffer* buffer, GstCaps* caps)
      : offset(static_cast<std::int64_t>(GST_BUFFER_OFFSET(buffer))),
        pts(static_cast<std::int64_t>(GST_BUFFER_PTS(buffer))),
        duration(static_cast<std::int64_t>(GST_BUFFER_DURATION(buffer))),
        isDiscontinuous(GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_DISCONT)),
        buffer_(buffer) {
    const GstStructure* const structure = gst_caps_get_structure(caps, 0);
    format = gst_structure_get_string(structure, "format");
    gst_structure_get_int(structure, "width", &width);
    gst_structure_get_int(structure, "height", &height);
    gst_structure_get_fraction(structure, "framerate", &rateNumerator, &rateDenominator);
    gst_caps_unref(caps);
    bytes.resize(gst_buffer_get_size(buffer));
    gst_buffer_extract(buffer, 0, bytes.data(), bytes.size());
  }
  [[nodiscard]] GstBuffer* buffer() const { return buffer_.get(); }
  /// A whole number of GstOrvikFrameMeta; -1 if there is none.
  [[nodiscard]] std::int64_t fact(const char* field) const {
    GstCustomMeta* const meta = gst_buffer_get_custom_meta(buffer(), "GstOrvikFrameMeta");
    if (meta == nullptr) return -1;
    const GstStructure* const facts = gst_custom_meta_get_structure(meta);
    gint64 wide = -1;
    gint narrow = -1;
    if (gst_structure_get_int64(facts, field, &wide) == TRUE) return wide;
    return gst_structure_get_int(facts, field, &narrow) == TRUE ? narrow : -1;
  }

  std::string format;
  std::vector<std::uint8_t> bytes;
  std::int64_t offset;
  std::int64_t pts;
  std::int64_t duration;
  bool isDiscontinuous;
  int width = 0;
  int height = 0;
  int rateNumerator = 0;
  int rateDenominator = 1;

 private:
  std::unique_ptr<GstBuffer, Unref> buffer_;
};

/// An orviksrc whose images the test pulls.
class Rig {
 public:
  /// @param properties as in a launch line
  /// @param elements after it, with their links
  explicit Rig(const std::string& properties = "", const char* caps = nullptr,
               const std::string& elements = "")
      : harness_(gst_harness_new_parse(("orviksrc name=camera " + properties + elements).c_str())),
        source_(gst_bin_get_by_name(GST_BIN(harness_->element), "camera")),
        bus_(gst_bus_new()) {
    gst_element_set_bus(bin(), bus_);
    gst_harness_use_systemclock(harness_);
    GstClock* const clock = gst_element_get_clock(bin());
    gst_element_set_base_time(bin(), gst_clock_get_time(clock));
    gst_object_unref(clock);
    if (caps != nullptr) gst_harness_set_sink_caps_str(harness_, caps);
  }
  ~Rig() {
    gst_object_unref(source_);
    gst_harness_teardown(harness_);
    gst_bus_set_flushing(bus_, TRUE);
    gst_object_unref(bus_);
  }
  Rig(const Rig&) = delete;
  Rig& operator=(const Rig&) = delete;

  [[nodiscard]] GstHarness* harness() const { return harness_; }
  [[nodiscard]] GstElement* source() const { return source_; }
  /// What the source is in, which has its clock and state.
  [[nodiscard]] GstElement* bin() const { return harness_->element; }
  void play() { gst_harness_play(harness_); }
  bool setState(GstState state) {
    return gst_element_set_state(bin(), state) != GST_STATE_CHANGE_FAILURE;
  }
  template <typename... Values>
  void set(const char* name, Values... values) {
    g_object_set(source(), name, values..., nullptr);
  }
  /// A picture, or an empty one if none comes within a minute.
  std::unique_ptr<Picture> pull() {
    GstBuffer* const buffer = gst_harness_pull(harness_);
    if (buffer == nullptr) return nullptr;
    return std::make_unique<Picture>(buffer, gst_pad_get_current_caps(harness_->sinkpad));
  }
  /// The next message of a type, or none if it does not come in ten seconds.
  Message message(GstMessageType type, GstClockTime wait = 10 * GST_SECOND) {
    return Message(gst_bus_timed_pop_filtered(bus_, wait, type));
  }
  /// The handle of the camera, for functions of the library.
  static int handle() { return devices().front().handle; }

 private:
  GstHarness* harness_;
  GstElement* source_;
  GstBus* bus_;
};

/// The error of a message: its domain, code and text.
struct Failure {
  explicit Failure(const Message& message) {
    if (!message) return;
    GError* error = nullptr;
    gst_message_parse_error(message.get(), &error, nullptr);
    domain = error->domain;
    code = error->code;
    text = error->message;
    g_error_free(error);
  }
  GQuark domain = 0;
  int code = -1;
  std::string text;
};

}  // namespace orvik::gst::testing
