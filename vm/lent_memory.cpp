// SPDX-License-Identifier: MIT
// The functions of libusb that this program defines itself take the place of libusb's own for
// the driver as well, as the program comes first when symbols are looked up.
#include "vm/lent_memory.h"

#include <dlfcn.h>
#include <libusb-1.0/libusb.h>

#include <atomic>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>

namespace orvik::vm {
namespace {

std::atomic<bool> isAllowed = true;
std::atomic<std::int64_t> read = 0;
std::atomic<std::int64_t> readWhereLent = 0;

/// Where memory was lent, and how much.
class Lent {
 public:
  void add(const unsigned char* memory, std::size_t bytes) {
    const std::lock_guard lock(mutex_);
    ranges_[memory] = bytes;
  }
  void remove(const unsigned char* memory) {
    const std::lock_guard lock(mutex_);
    ranges_.erase(memory);
  }
  bool has(const unsigned char* place) {
    const std::lock_guard lock(mutex_);
    auto after = ranges_.upper_bound(place);
    if (after == ranges_.begin()) return false;
    --after;
    return std::less<>()(place, after->first + after->second);
  }

 private:
  std::mutex mutex_;
  std::map<const unsigned char*, std::size_t, std::less<>> ranges_;
};

Lent lent;

/// libusb's own function of this name.
template <typename Function>
Function* original(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

void LentMemory::allow(bool allowed) { isAllowed = allowed; }
std::int64_t LentMemory::bytesRead() { return read; }
std::int64_t LentMemory::bytesReadWhereLent() { return readWhereLent; }

}  // namespace orvik::vm

using orvik::vm::original;

extern "C" {

[[gnu::visibility("default")]] unsigned char* LIBUSB_CALL
libusb_dev_mem_alloc(libusb_device_handle* handle, std::size_t bytes) {
  static auto* const own = original<decltype(libusb_dev_mem_alloc)>("libusb_dev_mem_alloc");
  if (!orvik::vm::isAllowed) return nullptr;
  unsigned char* const memory = own(handle, bytes);
  if (memory != nullptr) orvik::vm::lent.add(memory, bytes);
  return memory;
}

[[gnu::visibility("default")]] int LIBUSB_CALL libusb_dev_mem_free(libusb_device_handle* handle,
                                                                   unsigned char* memory,
                                                                   std::size_t bytes) {
  static auto* const own = original<decltype(libusb_dev_mem_free)>("libusb_dev_mem_free");
  orvik::vm::lent.remove(memory);
  return own(handle, memory, bytes);
}

[[gnu::visibility("default")]] int LIBUSB_CALL libusb_submit_transfer(libusb_transfer* transfer) {
  static auto* const own = original<decltype(libusb_submit_transfer)>("libusb_submit_transfer");
  if (transfer->type == LIBUSB_TRANSFER_TYPE_BULK) {
    orvik::vm::read += transfer->length;
    if (orvik::vm::lent.has(transfer->buffer)) orvik::vm::readWhereLent += transfer->length;
  }
  return own(transfer);
}

}  // extern "C"
