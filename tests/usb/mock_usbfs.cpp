// SPDX-License-Identifier: MIT
#include "mock_usbfs.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <span>

namespace orvik::testing {
namespace {

constexpr const char* kNode = "/dev/bus/usb/002/005";
constexpr const char* kSysfs = "/sys/devices/pci0000:00/0000:00:14.0/usb2/2-1";

/// A copy that a sanitizer does not see, just as it does not see the accesses of a real kernel. It
/// copies byte by byte, because the sanitizer replaces memcpy().
void copyUnseen(std::span<const std::uint8_t> from, volatile std::uint8_t* to) {
  for (const std::uint8_t byte : from) *to++ = byte;
}

std::string hex(const Bytes& bytes) {
  constexpr const char* kDigits = "0123456789ABCDEF";
  std::string text;
  for (const std::uint8_t byte : bytes) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

Bytes joined(Bytes first, const Bytes& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

/// A root hub and the camera on its port 1.
std::string sysfsText() {
  const Bytes hub = {18, 1, 0, 3, 9, 0, 3, 9, 0x6B, 0x1D, 3, 0,    0, 6,
                     0,  0, 0, 1, 9, 2, 9, 0, 0,    1,    0, 0xE0, 0};
  const Bytes camera = joined(t15cDevice(), t15cConfiguration());
  return "P: /devices/pci0000:00/0000:00:14.0/usb2\n"
         "N: bus/usb/002/001=" +
         hex(hub) +
         "\n"
         "E: SUBSYSTEM=usb\nE: DEVTYPE=usb_device\nE: DEVNAME=/dev/bus/usb/002/001\n"
         "A: busnum=2\\n\nA: devnum=1\\n\nA: speed=5000\\n\nA: bConfigurationValue=1\\n\n"
         "H: descriptors=" +
         hex(hub) +
         "\n\n"
         "P: /devices/pci0000:00/0000:00:14.0/usb2/2-1\n"
         "N: bus/usb/002/005=" +
         hex(camera) +
         "\n"
         "E: SUBSYSTEM=usb\nE: DEVTYPE=usb_device\nE: DEVNAME=/dev/bus/usb/002/005\n"
         "A: busnum=2\\n\nA: devnum=5\\n\nA: speed=5000\\n\nA: bConfigurationValue=1\\n\n"
         "A: serial=0012ABCD\\n\n"
         "H: descriptors=" +
         hex(camera) + "\n\n";
}

}  // namespace

MockUsbfs::MockUsbfs() : testbed_(umockdev_testbed_new()), handler_(umockdev_ioctl_base_new()) {
  descriptors[0x0100] = t15cDevice();
  descriptors[0x0200] = t15cConfiguration();
  descriptors[0x0F00] = t15cBos();
  descriptors[0x0300] = languages();
  descriptors[0x0302] = stringDescriptor(u"T15C");
  umockdev_testbed_add_from_string(testbed_, sysfsText().c_str(), nullptr);
  g_signal_connect(handler_, "handle-ioctl", G_CALLBACK(&MockUsbfs::onIoctl), this);
  umockdev_testbed_attach_ioctl(testbed_, kNode, handler_, nullptr);
}

MockUsbfs::~MockUsbfs() {
  umockdev_testbed_detach_ioctl(testbed_, kNode, nullptr);
  g_object_unref(handler_);
  g_object_unref(testbed_);
}

void MockUsbfs::unplug() {
  {
    const std::lock_guard lock(mutex_);
    gone_ = true;
    while (!pending_.empty()) end(pending_.back(), -ESHUTDOWN);
  }
  umockdev_testbed_uevent(testbed_, kSysfs, "remove");
  umockdev_testbed_remove_device(testbed_, kSysfs);
}

int MockUsbfs::count(unsigned long request) {
  const std::lock_guard lock(mutex_);
  return counts_[request];
}

Bytes MockUsbfs::lastControlOut() {
  const std::lock_guard lock(mutex_);
  return lastControlOut_;
}

// The "client" is this process itself, so its pointers can be dereferenced directly.
gboolean MockUsbfs::onIoctl(UMockdevIoctlBase*, UMockdevIoctlClient* client, gpointer self) {
  const UMockdevIoctlData* argument = umockdev_ioctl_client_get_arg(client);
  void* pointer = nullptr;
  std::memcpy(&pointer, argument->data, sizeof(pointer));
  const int result =
      static_cast<MockUsbfs*>(self)->handle(umockdev_ioctl_client_get_request(client), pointer);
  umockdev_ioctl_client_complete(client, result < 0 ? -1 : 0, -std::min(result, 0));
  return TRUE;
}

int MockUsbfs::handle(unsigned long request, void* argument) {
  const std::lock_guard lock(mutex_);
  ++counts_[request];
  switch (request) {
    case USBDEVFS_REAPURBNDELAY:
      return reap(static_cast<usbdevfs_urb**>(argument));
    case USBDEVFS_SUBMITURB:
      return gone_ ? -ENODEV : submit(static_cast<usbdevfs_urb*>(argument));
    case USBDEVFS_DISCARDURB:
      return gone_ ? -ENODEV : discard(static_cast<usbdevfs_urb*>(argument));
    case USBDEVFS_GET_CAPABILITIES:
      *static_cast<std::uint32_t*>(argument) =
          USBDEVFS_CAP_ZERO_PACKET | USBDEVFS_CAP_NO_PACKET_SIZE_LIM |
          USBDEVFS_CAP_BULK_SCATTER_GATHER | USBDEVFS_CAP_REAP_AFTER_DISCONNECT;
      return 0;
    case USBDEVFS_DISCONNECT_CLAIM:
    case USBDEVFS_CLAIMINTERFACE:
      return interfaceFree ? 0 : -EBUSY;
    case USBDEVFS_CLEAR_HALT:
    case USBDEVFS_RESET:
    case USBDEVFS_RELEASEINTERFACE:
      return gone_ ? -ENODEV : 0;
    default:
      return -ENOTTY;
  }
}

int MockUsbfs::submit(usbdevfs_urb* urb) {
  if (!hasMemory) return -ENOMEM;
  pending_.push_back(urb);
  if (urb->type == USBDEVFS_URB_TYPE_CONTROL) {
    if (answersControl) answerControl(urb);
  } else if (answersBulk) {
    auto* bytes = static_cast<std::uint8_t*>(urb->buffer);
    for (int i = 0; i < urb->buffer_length; ++i) bytes[i] = static_cast<std::uint8_t>(i + 1);
    urb->actual_length = urb->buffer_length;
    end(urb, 0);
  }
  return 0;
}

void MockUsbfs::answerControl(usbdevfs_urb* urb) {
  auto* setup = static_cast<std::uint8_t*>(urb->buffer);
  const std::span data(setup + 8, static_cast<std::size_t>(urb->buffer_length - 8));
  if ((setup[0] & 0x80) == 0) {
    lastControlOut_.resize(data.size() + 8);
    copyUnseen({setup, lastControlOut_.size()}, lastControlOut_.data());
    urb->actual_length = static_cast<int>(data.size());
    end(urb, 0);
    return;
  }
  const auto found = descriptors.find(static_cast<std::uint16_t>(setup[2] | setup[3] << 8));
  if (setup[1] != 6 || found == descriptors.end()) {
    end(urb, -EPIPE);
    return;
  }
  const std::size_t length = std::min(data.size(), found->second.size());
  copyUnseen(std::span(found->second).first(length), data.data());
  urb->actual_length = static_cast<int>(length);
  end(urb, 0);
}

int MockUsbfs::discard(usbdevfs_urb* urb) {
  if (std::ranges::find(pending_, urb) == pending_.end()) return -EINVAL;
  if (discards) {
    end(urb, -ENOENT);
  } else {
    discarded_.push_back(urb);
  }
  return 0;
}

void MockUsbfs::returnDiscarded() {
  const std::lock_guard lock(mutex_);
  for (usbdevfs_urb* urb : discarded_) end(urb, -ENOENT);
  discarded_.clear();
}

int MockUsbfs::reap(usbdevfs_urb** urb) {
  if (ended_.empty()) return gone_ ? -ENODEV : -EAGAIN;
  *urb = ended_.front();
  ended_.pop_front();
  return 0;
}

void MockUsbfs::end(usbdevfs_urb* urb, int status) {
  std::erase(pending_, urb);
  urb->status = status;
  ended_.push_back(urb);
}

}  // namespace orvik::testing
