// SPDX-License-Identifier: MIT
#pragma once

#include <linux/usbdevice_fs.h>
#include <sys/ioctl.h>
#include <umockdev-1.0/umockdev.h>

#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "t15c_descriptors.h"

/// The kernel's side of a USB device: a T15C in a mocked sysfs, and the requests that libusb makes
/// to its device node. Works only in a program started with umockdev's preload library.
namespace orvik::testing {

class MockUsbfs {
 public:
  static constexpr std::uint8_t kBus = 2;
  static constexpr std::uint8_t kAddress = 5;

  /// Plugs the device in.
  MockUsbfs();
  MockUsbfs(const MockUsbfs&) = delete;
  MockUsbfs& operator=(const MockUsbfs&) = delete;
  ~MockUsbfs();

  /// Unplugs the device: transfers in flight end, and all further requests fail.
  void unplug();

  // The behaviour of the device; to be set while nothing is in flight.
  bool answersBulk = true;     ///< with 1, 2, 3, ...; otherwise requests stay in flight
  bool answersControl = true;  ///< from `control`, or by a stall
  bool hasMemory = true;       ///< for requests
  bool interfaceFree = true;
  bool discards = true;                        ///< whether a discarded request is returned
  std::map<std::uint16_t, Bytes> descriptors;  ///< by wValue

  /// Returns the requests that were discarded while `discards` was false.
  void returnDiscarded();

  // Records of the requests.
  [[nodiscard]] int count(unsigned long request);
  [[nodiscard]] Bytes lastControlOut();

 private:
  static gboolean onIoctl(UMockdevIoctlBase* base, UMockdevIoctlClient* client, gpointer self);
  /// @return 0 or a negative errno
  int handle(unsigned long request, void* argument);
  int submit(usbdevfs_urb* urb);
  int discard(usbdevfs_urb* urb);
  int reap(usbdevfs_urb** urb);
  void answerControl(usbdevfs_urb* urb);
  void end(usbdevfs_urb* urb, int status);

  UMockdevTestbed* const testbed_;
  UMockdevIoctlBase* const handler_;
  std::mutex mutex_;
  bool gone_ = false;
  std::map<unsigned long, int> counts_;
  std::vector<usbdevfs_urb*> pending_;
  std::vector<usbdevfs_urb*> discarded_;
  std::deque<usbdevfs_urb*> ended_;
  Bytes lastControlOut_;
};

}  // namespace orvik::testing
