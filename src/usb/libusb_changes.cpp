// SPDX-License-Identifier: MIT
#include "usb/libusb_changes.h"

#include <libusb-1.0/libusb.h>

#include "seam/identity.h"

namespace orvik {
namespace {

int LIBUSB_CALL onChange(libusb_context*, libusb_device*, libusb_hotplug_event, void* count) {
  static_cast<seam::ChangeCount*>(count)->add();
  return 0;  // stay registered
}

}  // namespace

std::shared_ptr<seam::ChangeCount> countChanges(libusb_context* context) {
  if (libusb_has_capability(LIBUSB_CAP_HAS_HOTPLUG) == 0) return nullptr;
  auto count = std::make_shared<seam::ChangeCount>();
  // Registered for the life of the context: a deregistered callback may still be running on another
  // thread, but none runs after the context has ended.
  const int result = libusb_hotplug_register_callback(
      context, LIBUSB_HOTPLUG_EVENT_DEVICE_ARRIVED | LIBUSB_HOTPLUG_EVENT_DEVICE_LEFT,
      LIBUSB_HOTPLUG_NO_FLAGS, identity::kVendorId, LIBUSB_HOTPLUG_MATCH_ANY,
      LIBUSB_HOTPLUG_MATCH_ANY, &onChange, count.get(), nullptr);
  return result == LIBUSB_SUCCESS ? count : nullptr;
}

}  // namespace orvik
