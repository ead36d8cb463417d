// SPDX-License-Identifier: MIT
// Cameras in GstDeviceMonitor.
#include "gstreamer/rig.h"

namespace orvik::gst::testing {
namespace {

using DeviceProviderTest = GstTest;

std::string displayName(GstDevice* device) {
  char* const text = gst_device_get_display_name(device);
  std::string name(text);
  g_free(text);
  return name;
}

/// Waits for a camera that has come or gone.
GstDevice* next(GstBus* bus, GstMessageType type) {
  const Message message(gst_bus_timed_pop_filtered(bus, 10 * GST_SECOND, type));
  GstDevice* device = nullptr;
  if (!message) return nullptr;
  if (type == GST_MESSAGE_DEVICE_ADDED) {
    gst_message_parse_device_added(message.get(), &device);
  } else {
    gst_message_parse_device_removed(message.get(), &device);
  }
  return device;
}

TEST_F(DeviceProviderTest, ListsCamerasAndTellsWhenTheyComeAndGo) {
  const int first = plug("T15C", "serial=000000AA");
  GstDeviceMonitor* const monitor = gst_device_monitor_new();
  gst_device_monitor_add_filter(monitor, "Video/Source", nullptr);
  GstBus* const bus = gst_device_monitor_get_bus(monitor);
  ASSERT_TRUE(gst_device_monitor_start(monitor));
  GList* const listed = gst_device_monitor_get_devices(monitor);
  ASSERT_EQ(g_list_length(listed), 1U) << "without delay";
  EXPECT_EQ(displayName(static_cast<GstDevice*>(listed->data)), "Vek T15C 000000AA");
  g_list_free_full(listed, gst_object_unref);
  GstDevice* device = next(bus, GST_MESSAGE_DEVICE_ADDED);
  ASSERT_NE(device, nullptr);
  gst_object_unref(device);

  plug("T06M", "serial=000000BB");
  device = next(bus, GST_MESSAGE_DEVICE_ADDED);
  ASSERT_NE(device, nullptr);
  EXPECT_EQ(displayName(device), "Vek T06M 000000BB");
  GstElement* const element = gst_device_create_element(device, nullptr);
  char* identity = nullptr;
  g_object_get(element, "device", &identity, nullptr);
  EXPECT_STREQ(identity, "000000BB");
  g_free(identity);
  gst_object_unref(gst_object_ref_sink(element));
  gst_object_unref(device);

  OrvikSimUnplug(first);
  device = next(bus, GST_MESSAGE_DEVICE_REMOVED);
  ASSERT_NE(device, nullptr);
  EXPECT_EQ(displayName(device), "Vek T15C 000000AA");
  gst_object_unref(device);
  gst_device_monitor_stop(monitor);
  gst_object_unref(bus);
  gst_object_unref(monitor);
}

}  // namespace
}  // namespace orvik::gst::testing
