// SPDX-License-Identifier: MIT
// Images on the wire.
#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstring>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <utility>

#include "integrations/server/alpaca/answer.h"
#include "integrations/server/http/form.h"

namespace orvik::server {
namespace {

constexpr std::size_t kChunkBytes = 65536;
/// "65535,": the longest text of a sample.
constexpr int kSampleText = 6;

/// Numbers of the standard for types of array elements.
constexpr std::int32_t kTypeInt32 = 2;
constexpr std::int32_t kTypeByte = 6;
constexpr std::int32_t kTypeUInt16 = 8;

/// The image as nested lists of numbers. If it is recalled it lets go of it and fails, so that the
/// connection is closed before the text is complete.
class JsonImage final : public BodySource {
 public:
  JsonImage(std::shared_ptr<const AlpacaImage> image, Transaction transaction)
      : image_(std::move(image)),
        numX_(static_cast<std::size_t>(image_->numX)),
        numY_(static_cast<std::size_t>(image_->numY)),
        head_(R"({"Type":2,"Rank":2,"Value":[)"),
        tail_("],\"ClientTransactionID\":" + std::to_string(transaction.client) +
              ",\"ServerTransactionID\":" + std::to_string(transaction.server) +
              R"(,"ErrorNumber":0,"ErrorMessage":""})"),
        onRecall_(image_->recalled, [this] { letGo(); }) {}

  void next(std::string& chunk) override {
    const std::scoped_lock lock(mutex_);
    if (isComplete_) return;
    if (!image_) throw std::runtime_error("the image is not there any more");
    chunk += std::exchange(head_, {});
    if (image_->bytesPerSample == 2) {
      append<std::uint16_t>(chunk);
    } else {
      append<std::uint8_t>(chunk);
    }
    if (x_ < numX_) return;
    chunk += tail_;
    isComplete_ = true;
    image_.reset();
  }

 private:
  /// Appends samples until the chunk is full or the image complete.
  template <typename Sample>
  void append(std::string& chunk) {
    std::size_t used = chunk.size();
    chunk.resize(used + kChunkBytes);
    char* at = chunk.data() + used;
    char* const full = chunk.data() + chunk.size();
    // Room for two of the longest samples, the brackets around and the comma between columns.
    constexpr std::ptrdiff_t kMost = 2 * kSampleText + 3;
    const auto* const samples = image_->as<const Sample>();
    while (x_ < numX_ && full - at > kMost) {
      if (y_ == 0) *at++ = '[';
      const Sample* const column = samples + x_ * numY_;
      const auto room = static_cast<std::size_t>(full - at) / kSampleText - 1;
      const std::size_t end = std::min(numY_, y_ + room);
      for (; y_ < end; ++y_) {
        at = std::to_chars(at, full, static_cast<unsigned>(column[y_])).ptr;
        *at++ = ',';
      }
      if (y_ < numY_) break;
      at[-1] = ']';
      y_ = 0;
      if (++x_ < numX_) *at++ = ',';
    }
    used = static_cast<std::size_t>(at - chunk.data());
    chunk.resize(used);
  }

  void letGo() {
    const std::scoped_lock lock(mutex_);
    image_.reset();
  }

  std::mutex mutex_;
  std::shared_ptr<const AlpacaImage> image_;
  std::size_t numX_;
  std::size_t numY_;
  std::size_t x_ = 0;
  std::size_t y_ = 0;
  std::string head_;
  std::string tail_;
  bool isComplete_ = false;
  std::stop_callback<std::function<void()>> onRecall_;
};

/// Takes the part up to a separator from the front of a text.
std::string_view takeUntil(std::string_view& text, char separator) {
  const auto end = text.find(separator);
  const std::string_view part = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return trimmed(part);
}

}  // namespace

Response jsonImage(std::shared_ptr<const AlpacaImage> image, Transaction transaction) {
  Response response = jsonText("");
  response.body = std::make_shared<JsonImage>(std::move(image), transaction);
  return response;
}

Response binaryImage(std::shared_ptr<const AlpacaImage> image, Transaction transaction) {
  static_assert(std::endian::native == std::endian::little);
  constexpr std::int32_t kVersion = 1;
  constexpr std::int32_t kRank = 2;
  constexpr std::int32_t kHeadBytes = 44;
  const std::array<std::int32_t, kHeadBytes / 4> head{
      kVersion,
      0,  // error number
      static_cast<std::int32_t>(transaction.client),
      static_cast<std::int32_t>(transaction.server),
      kHeadBytes,
      kTypeInt32,
      image->bytesPerSample == 2 ? kTypeUInt16 : kTypeByte,
      kRank,
      image->numX,
      image->numY,
      0};
  SharedBytes body;
  body.head.resize(kHeadBytes);
  std::memcpy(body.head.data(), head.data(), kHeadBytes);
  body.bytes = image->bytes();
  body.recalled = image->recalled;
  body.owner = std::move(image);
  Response response;
  response.contentType = "application/imagebytes";
  response.body = std::move(body);
  return response;
}

bool acceptsBinaryImage(std::string_view accept) {
  while (!accept.empty()) {
    std::string_view range = takeUntil(accept, ',');
    if (!equalInAnyCase(takeUntil(range, ';'), "application/imagebytes")) continue;
    bool isRefused = false;
    while (!range.empty()) {
      std::string_view parameter = takeUntil(range, ';');
      if (!equalInAnyCase(takeUntil(parameter, '='), "q")) continue;
      isRefused = trimmed(parameter).find_first_not_of("0.") == std::string_view::npos;
    }
    if (!isRefused) return true;
  }
  return false;
}

}  // namespace orvik::server
