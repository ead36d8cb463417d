// SPDX-License-Identifier: MIT
#include "integrations/server/http/message.h"

#include <algorithm>
#include <exception>

#include "integrations/server/http/form.h"

namespace orvik::server {

std::string_view Headers::get(std::string_view name) const {
  const auto found = std::find_if(list_.begin(), list_.end(), [&](const auto& header) {
    return equalInAnyCase(header.first, name);
  });
  return found == list_.end() ? std::string_view() : std::string_view(found->second);
}

Response plainText(int status, std::string text) {
  Response response;
  response.status = status;
  response.body = std::move(text);
  return response;
}

Response jsonText(std::string text) {
  Response response;
  response.contentType = "application/json; charset=utf-8";
  response.body = std::move(text);
  return response;
}

Reply::~Reply() {
  if (!send_) return;
  try {
    (*this)(plainText(500, "The server has failed to answer this request.\n"));
  } catch (const std::exception&) {
    // Out of memory: the client gets no answer, and its connection is closed with the server's.
    send_ = nullptr;
  }
}

void Reply::operator()(Response response) {
  if (const Send send = std::exchange(send_, nullptr)) send(std::move(response));
}

}  // namespace orvik::server
