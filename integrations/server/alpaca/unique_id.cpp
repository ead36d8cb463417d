// SPDX-License-Identifier: MIT
#include "integrations/server/alpaca/unique_id.h"

#include <boost/uuid/name_generator_sha1.hpp>
#include <boost/uuid/uuid.hpp>
#include <boost/uuid/uuid_io.hpp>

namespace orvik::server {

std::string uniqueId(std::string_view key) {
  // A random one, for all cameras. It must never change: programs store the UUIDs made with it.
  constexpr boost::uuids::uuid kNamespace{{0x6e, 0x0b, 0x3c, 0x52, 0x9d, 0x41, 0x4f, 0x7a, 0xb8,
                                           0x25, 0x1c, 0xe7, 0x60, 0xd4, 0x93, 0xaf}};
  const boost::uuids::name_generator_sha1 generate(kNamespace);
  return to_string(generate(key.data(), key.size()));
}

}  // namespace orvik::server
