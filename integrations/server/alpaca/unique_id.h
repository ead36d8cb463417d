// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace orvik::server {

/// The UUID by which clients recognise a camera: the same for the same key, in every run and on
/// every computer.
std::string uniqueId(std::string_view key);

}  // namespace orvik::server
