// SPDX-License-Identifier: MIT
#include "integrations/server/alpaca/answer.h"

#include <string>
#include <utility>

namespace orvik::server {
namespace {

Json zeroOf(Type type) {
  switch (type) {
    case Type::kBool:
      return false;
    case Type::kInt:
      return 0;
    case Type::kDouble:
      return 0.0;
    case Type::kText:
      return "";
    case Type::kList:
    case Type::kImage:
      break;
  }
  return Json::array();
}

Response envelope(Json content, Transaction transaction, int number, std::string_view message) {
  content["ClientTransactionID"] = transaction.client;
  content["ServerTransactionID"] = transaction.server;
  content["ErrorNumber"] = number;
  content["ErrorMessage"] = message;
  return jsonText(content.dump(-1, ' ', false, Json::error_handler_t::replace));
}

}  // namespace

Response valueAnswer(Json value, Transaction transaction) {
  Json content;
  content["Value"] = std::move(value);
  return envelope(std::move(content), transaction, 0, "");
}

Response doneAnswer(Transaction transaction) {
  return envelope(Json::object(), transaction, 0, "");
}

Response errorAnswer(const AlpacaError& error, Transaction transaction, std::optional<Type> type) {
  Json content = Json::object();
  if (type == Type::kImage) {
    content["Type"] = 2;
    content["Rank"] = 2;
  }
  if (type) content["Value"] = zeroOf(*type);
  return envelope(std::move(content), transaction, static_cast<int>(error.number()), error.what());
}

}  // namespace orvik::server
