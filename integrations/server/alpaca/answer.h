// SPDX-License-Identifier: MIT
// The answers of the interface: JSON with the same keys for all members, and images.
#pragma once

#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>

#include "integrations/server/alpaca/arguments.h"
#include "integrations/server/alpaca/error.h"
#include "integrations/server/alpaca/image_room.h"
#include "integrations/server/http/message.h"

namespace orvik::server {

/// Keeps the order of its keys, by which some clients recognise images.
using Json = nlohmann::ordered_json;

/// What an answer tells of its request.
struct Transaction {
  std::uint32_t client = 0;  ///< the number that the client has given the request
  std::uint32_t server = 0;
};

/// The answer of a GET.
Response valueAnswer(Json value, Transaction transaction);
/// The answer of a PUT.
Response doneAnswer(Transaction transaction);
/// The answer of a request that has failed.
/// @param type of the value that a GET would have returned: a zero of this type is sent with it;
///        empty for a PUT
Response errorAnswer(const AlpacaError& error, Transaction transaction, std::optional<Type> type);

/// An image as JSON, which is written while it is sent.
Response jsonImage(std::shared_ptr<const AlpacaImage> image, Transaction transaction);
/// An image in the standard's binary form, sent from where it lies.
Response binaryImage(std::shared_ptr<const AlpacaImage> image, Transaction transaction);
/// Whether the header `Accept` names the binary form.
bool acceptsBinaryImage(std::string_view accept);

}  // namespace orvik::server
