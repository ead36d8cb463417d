// SPDX-License-Identifier: MIT
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>

namespace orvik::soak {

/// Memory of variable size, followed by an inaccessible page: a write beyond the last byte ends the
/// program at once, with or without a sanitizer.
class GuardedBuffer {
 public:
  GuardedBuffer() = default;
  GuardedBuffer(const GuardedBuffer&) = delete;
  GuardedBuffer& operator=(const GuardedBuffer&) = delete;
  ~GuardedBuffer() { release(); }

  /// @return memory of `bytes` bytes, valid until the next call; null for 0 bytes.
  unsigned char* resize(std::size_t bytes) {
    const std::size_t pages = (bytes + page() - 1) / page();
    if (pages != pages_) {
      release();
      map(pages);
    }
    return bytes == 0 ? nullptr : base_ + pages_ * page() - bytes;
  }

 private:
  static std::size_t page() {
    static const auto size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return size;
  }

  void map(std::size_t pages) {
    void* const memory = mmap(nullptr, (pages + 1) * page(), PROT_READ | PROT_WRITE,
                              MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
      std::perror("mmap");
      std::abort();
    }
    base_ = static_cast<unsigned char*>(memory);
    pages_ = pages;
    if (mprotect(base_ + pages_ * page(), page(), PROT_NONE) != 0) std::abort();
  }

  void release() {
    if (base_ != nullptr) munmap(base_, (pages_ + 1) * page());
    base_ = nullptr;
    pages_ = 0;
  }

  unsigned char* base_ = nullptr;
  std::size_t pages_ = 0;
};

}  // namespace orvik::soak
