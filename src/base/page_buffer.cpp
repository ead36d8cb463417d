// SPDX-License-Identifier: MIT
#include "base/page_buffer.h"

#include <sys/mman.h>

namespace orvik {

PageBuffer::PageBuffer(std::size_t bytes) {
  if (bytes == 0) return;
  void* memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE,
                      MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (memory == MAP_FAILED) return;
  memory_ = memory;
  data_ = static_cast<std::uint8_t*>(memory);
  size_ = bytes;
}

PageBuffer::~PageBuffer() {
  if (memory_ != nullptr) munmap(memory_, size_);
}

}  // namespace orvik
