// SPDX-License-Identifier: MIT
#include <cstdlib>

#include "firmware/firmware_image.h"

namespace {

using Bytes = std::span<const std::uint8_t>;

/// The data that a parser returns must lie within its input.
void requireWithin(Bytes part, Bytes whole) {
  if (part.empty()) return;
  if (part.data() < whole.data() || part.data() + part.size() > whole.data() + whole.size()) {
    std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace orvik::firmware;  // NOLINT(google-build-using-namespace)
  const Bytes bytes(data, size);
  Image image;
  if (parseImage(bytes, image) == orvik::FWDWNLOAD_SUCCESS) {
    for (const Section& section : image.sections) {
      requireWithin(section.data, bytes);
      if (section.data.empty() || section.data.size() % 4 != 0) std::abort();
    }
  } else if (!image.sections.empty()) {
    std::abort();
  }
  if (const auto records = parseRecords(bytes)) {
    for (const Record& record : *records) requireWithin(record.data, bytes);
  }
  eepromBytesOf(bytes);
  return 0;
}
