// SPDX-License-Identifier: MIT
#pragma once

#include <sys/uio.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "integrations/server/http/message.h"

namespace orvik::server {

/// An answer as the bytes that leave for the client. Memory is not copied: the bytes are handed out
/// where they lie.
class ResponseStream {
 public:
  struct Rules {
    bool isHead = false;       ///< the headers only
    bool allowsChunks = true;  ///< the client knows HTTP/1.1
    bool keepAlive = true;     ///< further requests may follow
  };

  ResponseStream(Response response, Rules rules);
  ~ResponseStream() = default;
  ResponseStream(const ResponseStream&) = delete;
  ResponseStream& operator=(const ResponseStream&) = delete;

  /// What comes next; empty at the end. Valid until the next call of any function.
  /// @throws std::exception if the source of the body fails; the connection has to be closed then
  std::span<const iovec> pending();
  /// So many of the pending bytes have been sent.
  void sent(std::size_t bytes);

  /// Whether further answers can follow this one on the connection.
  [[nodiscard]] bool keepsAlive() const { return rules_.keepAlive; }
  /// Whether the next bytes have to be made first, which takes time.
  [[nodiscard]] bool isMade() const { return source_ != nullptr; }

 private:
  void writeHead();
  void put(const void* bytes, std::size_t size);
  void makeNext();

  Response response_;
  Rules rules_;
  std::string head_;
  std::shared_ptr<BodySource> source_;  ///< null at its end
  bool isChunked_ = false;
  bool hasBegun_ = false;
  std::optional<std::uint64_t> left_;  ///< of a source whose size is known
  std::string frame_;                  ///< the length that precedes a chunk
  std::string chunk_;
  std::array<iovec, 4> parts_{};
  std::size_t first_ = 0;
  std::size_t end_ = 0;
};

}  // namespace orvik::server
