// SPDX-License-Identifier: MIT
#include "integrations/server/http/form.h"

#include <algorithm>

namespace orvik::server {

bool equalInAnyCase(std::string_view one, std::string_view other) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
  return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                    [&](char a, char b) { return lower(a) == lower(b); });
}

}  // namespace orvik::server
