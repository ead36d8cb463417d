// SPDX-License-Identifier: MIT
#include "integrations/server/http/response_stream.h"

#include <algorithm>
#include <array>
#include <boost/beast/http/status.hpp>
#include <charconv>
#include <ctime>
#include <stdexcept>
#include <utility>

namespace orvik::server {
namespace {

/// Scripts, styles and connections of this server only. Pictures can also be made by the page.
constexpr std::string_view kContentPolicy =
    "default-src 'none'; script-src 'self'; style-src 'self'; font-src 'self'; "
    "img-src 'self' blob: data:; connect-src 'self'; worker-src 'self'; manifest-src 'self'; "
    "form-action 'self'; base-uri 'none'; frame-ancestors 'none'";

/// Sent with every answer that does not set them itself.
constexpr std::array<std::pair<std::string_view, std::string_view>, 5> kDefaults = {{
    {"Cache-Control", "no-store"},
    {"Content-Security-Policy", kContentPolicy},
    {"Cross-Origin-Resource-Policy", "same-origin"},
    {"Referrer-Policy", "no-referrer"},
    {"X-Content-Type-Options", "nosniff"},
}};

std::string dateNow() {
  const std::time_t now = std::time(nullptr);
  std::tm utc{};
  gmtime_r(&now, &utc);
  std::array<char, 64> text{};
  const std::size_t size =
      std::strftime(text.data(), text.size(), "%a, %d %b %Y %H:%M:%S GMT", &utc);
  return {text.data(), size};
}

/// Line ends in a value would begin another header.
bool isOneLine(std::string_view text) {
  return std::none_of(text.begin(), text.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return (byte < 0x20 && c != '\t') || byte == 0x7F;
  });
}

void append(std::string& head, std::string_view name, std::string_view value) {
  if (name.empty() || !isOneLine(name) || !isOneLine(value)) return;
  head.append(name).append(": ").append(value).append("\r\n");
}

bool hasBody(int status) { return status >= 200 && status != 204 && status != 304; }

std::uint64_t sizeOf(const SharedBytes& shared) { return shared.head.size() + shared.bytes.size(); }

}  // namespace

ResponseStream::ResponseStream(Response response, Rules rules)
    : response_(std::move(response)), rules_(rules) {
  writeHead();
  put(head_.data(), head_.size());
  if (rules_.isHead || !hasBody(response_.status)) {
    source_ = nullptr;
  } else if (const auto* text = std::get_if<std::string>(&response_.body)) {
    put(text->data(), text->size());
  } else if (const auto* shared = std::get_if<SharedBytes>(&response_.body)) {
    put(shared->head.data(), shared->head.size());
    put(shared->bytes.data(), shared->bytes.size());
  }
}

void ResponseStream::writeHead() {
  std::optional<std::uint64_t> length;
  if (const auto* text = std::get_if<std::string>(&response_.body)) {
    length = text->size();
  } else if (const auto* shared = std::get_if<SharedBytes>(&response_.body)) {
    length = sizeOf(*shared);
  } else {
    source_ = std::get<std::shared_ptr<BodySource>>(response_.body);
    length = source_ == nullptr ? 0 : source_->size();
    left_ = length;
    if (!length) {
      isChunked_ = rules_.allowsChunks;
      rules_.keepAlive = rules_.keepAlive && isChunked_;
    }
  }

  const std::string_view reason = [&] {
    const auto known = boost::beast::http::obsolete_reason(
        boost::beast::http::int_to_status(static_cast<unsigned>(response_.status)));
    return std::string_view(known.data(), known.size());
  }();
  head_ = "HTTP/1.1 " + std::to_string(response_.status) + " ";
  head_.append(reason).append("\r\n");
  append(head_, "Server", "orvik-server");
  append(head_, "Date", dateNow());
  append(head_, "Connection", rules_.keepAlive ? "keep-alive" : "close");
  if (hasBody(response_.status)) {
    if (!response_.contentType.empty()) append(head_, "Content-Type", response_.contentType);
    if (length) append(head_, "Content-Length", std::to_string(*length));
    if (isChunked_) append(head_, "Transfer-Encoding", "chunked");
  }
  for (const auto& [name, value] : response_.headers.list()) append(head_, name, value);
  for (const auto& [name, value] : kDefaults) {
    if (response_.headers.get(name).empty()) append(head_, name, value);
  }
  head_ += "\r\n";
}

void ResponseStream::put(const void* bytes, std::size_t size) {
  // sendmsg() reads only, but its records are shared with functions that write.
  if (size > 0) parts_.at(end_++) = {const_cast<void*>(bytes), size};  // NOLINT
}

std::span<const iovec> ResponseStream::pending() {
  // The first part of a source leaves together with the headers.
  if (source_ != nullptr && (first_ == end_ || !hasBegun_)) makeNext();
  hasBegun_ = true;
  return {parts_.data() + first_, end_ - first_};
}

void ResponseStream::makeNext() {
  if (first_ == end_) first_ = end_ = 0;
  chunk_.clear();
  source_->next(chunk_);
  if (left_) {
    if (chunk_.size() > *left_ || (chunk_.empty() && *left_ > 0)) {
      throw std::runtime_error("a body has not the length that it has announced");
    }
    *left_ -= chunk_.size();
  }
  if (isChunked_) {
    std::array<char, 20> size{};
    char* const end = std::to_chars(size.data(), size.data() + size.size(), chunk_.size(), 16).ptr;
    frame_.assign(size.data(), end).append("\r\n");
    put(frame_.data(), frame_.size());
    chunk_ += "\r\n";
    if (chunk_.size() == 2) source_ = nullptr;
  } else if (chunk_.empty() || left_ == 0U) {
    source_ = nullptr;
  }
  put(chunk_.data(), chunk_.size());
}

void ResponseStream::sent(std::size_t bytes) {
  while (bytes > 0 && first_ < end_) {
    iovec& part = parts_.at(first_);
    const std::size_t taken = std::min(bytes, part.iov_len);
    part.iov_base = static_cast<char*>(part.iov_base) + taken;
    part.iov_len -= taken;
    bytes -= taken;
    if (part.iov_len == 0) ++first_;
  }
}

}  // namespace orvik::server
