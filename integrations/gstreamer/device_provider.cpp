// SPDX-License-Identifier: MIT
// Lists cameras for GstDeviceMonitor. No camera is opened for it.
#include <algorithm>
#include <exception>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "integrations/gstreamer/formats.h"
#include "integrations/gstreamer/orvik_src.h"
#include "orvik/orvik.hpp"

using orvik::Device;
using orvik::DeviceWatch;

struct OrvikGstDevice {
  GstDevice parent;
};
struct OrvikGstDeviceClass {
  GstDeviceClass parent;
};

G_DEFINE_TYPE(OrvikGstDevice, orvik_gst_device, GST_TYPE_DEVICE)

namespace {

gboolean reconfigureElement(GstDevice* device, GstElement* element) noexcept {
  if (G_OBJECT_TYPE(element) != orvik::gst::orvikSrcType()) return FALSE;
  GstStructure* const facts = gst_device_get_properties(device);
  g_object_set(element, "device", gst_structure_get_string(facts, "device.identity"), nullptr);
  gst_structure_free(facts);
  return TRUE;
}

GstElement* createElement(GstDevice* device, const gchar* name) noexcept {
  GstElement* const element = gst_element_factory_make("orviksrc", name);
  if (element != nullptr) reconfigureElement(device, element);
  return element;
}

/// What a camera can deliver in detail is known while it is open in this process.
orvik::gst::Caps capsOf(const Device& device) {
  Orvik_CAMERA_INFO info{};
  if (device.handle != 0 && OrvikGetCameraProperty(&info, device.handle) == Orvik_OK) {
    return orvik::gst::cameraCaps(info, 1, 0);
  }
  return orvik::gst::Caps(gst_caps_from_string(orvik::gst::kTemplateCaps));
}

/// @return a floating reference
GstDevice* makeDevice(const Device& device) {
  GstStructure* const facts = gst_structure_new(
      "orvik-device", "device.api", G_TYPE_STRING, "orvik", "device.model", G_TYPE_STRING,
      device.name.c_str(), "device.serial", G_TYPE_STRING, device.serial.c_str(), "device.port",
      G_TYPE_STRING, device.port.c_str(), "device.identity", G_TYPE_STRING, device.identity.c_str(),
      "device.vendor.id", G_TYPE_INT, device.vendorId, "device.product.id", G_TYPE_INT,
      device.productId, nullptr);
  const orvik::gst::Caps caps = capsOf(device);
  auto* const made = static_cast<GstDevice*>(g_object_new(
      orvik_gst_device_get_type(), "display-name", device.label().c_str(), "device-class",
      "Video/Source", "caps", caps.get(), "properties", facts, nullptr));
  gst_structure_free(facts);
  return made;
}

}  // namespace

static void orvik_gst_device_class_init(OrvikGstDeviceClass* type) {
  GST_DEVICE_CLASS(type)->create_element = createElement;
  GST_DEVICE_CLASS(type)->reconfigure_element = reconfigureElement;
}

static void orvik_gst_device_init(OrvikGstDevice* /*self*/) {}

namespace {

/// Keeps the list of a provider that was started.
class Listing {
 public:
  explicit Listing(GstDeviceProvider* provider) : provider_(provider) {
    std::error_code ignored;
    std::vector<Device> present = orvik::devices(ignored);
    for (const Device& device : present) add(device);
    watch_ = std::make_unique<DeviceWatch>(
        [this](DeviceWatch::Change change, const Device& device) {
          change == DeviceWatch::Change::kArrived ? add(device) : remove(device);
        },
        std::move(present));
  }

 private:
  void add(const Device& device) {
    if (device.name.empty()) return;  // orviksrc could not open it
    GstDevice* const listed = makeDevice(device);
    listed_.emplace_back(device, listed);
    gst_device_provider_device_add(provider_, listed);
  }
  void remove(const Device& device) {
    const auto found = std::find_if(listed_.begin(), listed_.end(), [&](const auto& one) {
      return one.first.port == device.port && one.first.serial == device.serial;
    });
    if (found == listed_.end()) return;
    gst_device_provider_device_remove(provider_, found->second);
    listed_.erase(found);
  }

  GstDeviceProvider* provider_;
  std::vector<std::pair<Device, GstDevice*>> listed_;  ///< the provider owns the second
  std::unique_ptr<DeviceWatch> watch_;                 ///< last: it uses the others
};

}  // namespace

struct OrvikDeviceProvider {
  GstDeviceProvider parent;
  Listing* listing;
};
struct OrvikDeviceProviderClass {
  GstDeviceProviderClass parent;
};

G_DEFINE_TYPE(OrvikDeviceProvider, orvik_device_provider, GST_TYPE_DEVICE_PROVIDER)

namespace {

OrvikDeviceProvider* asProvider(gpointer object) {
  return static_cast<OrvikDeviceProvider*>(object);
}

GList* probe(GstDeviceProvider* /*provider*/) noexcept {
  GList* list = nullptr;
  std::error_code ignored;
  for (const Device& device : orvik::devices(ignored)) {
    if (!device.name.empty()) list = g_list_append(list, g_object_ref_sink(makeDevice(device)));
  }
  return list;
}

gboolean startListing(GstDeviceProvider* provider) noexcept {
  try {
    asProvider(provider)->listing = std::make_unique<Listing>(provider).release();
    return TRUE;
  } catch (const std::exception&) {  // no memory, or no thread
    return FALSE;
  }
}

void stopListing(GstDeviceProvider* provider) noexcept {
  delete std::exchange(asProvider(provider)->listing, nullptr);
}

}  // namespace

static void orvik_device_provider_class_init(OrvikDeviceProviderClass* type) {
  GstDeviceProviderClass* const provider = GST_DEVICE_PROVIDER_CLASS(type);
  provider->probe = probe;
  provider->start = startListing;
  provider->stop = stopListing;
  gst_device_provider_class_set_static_metadata(provider, "Orvik device provider", "Source/Video",
                                                "Lists USB astronomical cameras",
                                                "The Orvik authors");
}

static void orvik_device_provider_init(OrvikDeviceProvider* /*self*/) {}

GType orvik::gst::deviceProviderType() { return orvik_device_provider_get_type(); }
