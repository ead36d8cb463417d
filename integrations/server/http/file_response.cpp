// SPDX-License-Identifier: MIT
#include "integrations/server/http/file_response.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <memory>
#include <system_error>

#include "integrations/server/http/assets.h"
#include "integrations/server/http/form.h"

namespace orvik::server {
namespace {

constexpr std::size_t kChunk = 65'536;

/// A part of a file.
class FilePart final : public BodySource {
 public:
  FilePart(FileDescriptor file, ByteRange range)
      : file_(std::move(file)), at_(range.first), end_(range.second) {
    posix_fadvise(file_.number(), static_cast<off_t>(at_), static_cast<off_t>(end_ - at_),
                  POSIX_FADV_SEQUENTIAL);
  }

  void next(std::string& chunk) override {
    const std::size_t wanted = std::min<std::uint64_t>(kChunk, end_ - at_);
    chunk.resize(wanted);
    ssize_t got = 0;
    do {
      got = pread(file_.number(), chunk.data(), wanted, static_cast<off_t>(at_));
    } while (got < 0 && errno == EINTR);
    if (got < 0) throw std::system_error(errno, std::generic_category(), "cannot read a file");
    chunk.resize(static_cast<std::size_t>(got));
    at_ += static_cast<std::uint64_t>(got);
    // The disk works on what comes next while the client takes this.
    if (at_ < end_)
      posix_fadvise(file_.number(), static_cast<off_t>(at_), 4 * kChunk, POSIX_FADV_WILLNEED);
  }

  [[nodiscard]] std::optional<std::uint64_t> size() const override { return end_ - at_; }

 private:
  FileDescriptor file_;
  std::uint64_t at_;
  std::uint64_t end_;
};

std::optional<std::uint64_t> number(std::string_view text) {
  std::uint64_t value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec != std::errc() || result.ptr != text.data() + text.size()) return std::nullopt;
  return value;
}

/// Changes whenever the file is written.
std::string tagOf(const struct stat& status) {
  return '"' + std::to_string(status.st_ino) + '-' + std::to_string(status.st_size) + '-' +
         std::to_string(status.st_mtim.tv_sec) + '.' + std::to_string(status.st_mtim.tv_nsec) + '"';
}

/// The name for old clients, in ASCII, and for new ones.
std::string disposition(std::string_view name) {
  std::string ascii;
  std::string encoded;
  for (const char c : name) {
    const auto byte = static_cast<unsigned char>(c);
    const bool isPlain = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') ||
                         (c >= 'a' && c <= 'z') || c == '.' || c == '-' || c == '_';
    ascii += isPlain || c == ' ' ? c : '_';
    if (isPlain) {
      encoded += c;
    } else {
      encoded += {'%', "0123456789ABCDEF"[byte >> 4U], "0123456789ABCDEF"[byte & 15U]};
    }
  }
  return "attachment; filename=\"" + ascii + "\"; filename*=UTF-8''" + encoded;
}

}  // namespace

FileDescriptor openInFolder(int folder, std::string_view name) {
  FileDescriptor below;
  for (;;) {
    const std::size_t slash = name.find('/');
    const std::string part(name.substr(0, slash));
    if (part.empty() || part[0] == '.' || part.find('\0') != std::string::npos) return {};
    const bool isFile = slash == std::string_view::npos;
    // A pipe would keep the one who opens it waiting.
    const int flags = O_RDONLY | O_NOFOLLOW | O_CLOEXEC | (isFile ? O_NONBLOCK : O_DIRECTORY);
    FileDescriptor found(openat(below ? below.number() : folder, part.c_str(), flags));
    if (!found) return {};
    if (!isFile) {
      below = std::move(found);
      name.remove_prefix(slash + 1);
      continue;
    }
    struct stat status {};
    if (fstat(found.number(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
    return found;
  }
}

std::optional<ByteRange> parseRange(std::string_view header, std::uint64_t size) {
  constexpr std::string_view kUnit = "bytes=";
  if (!equalInAnyCase(header.substr(0, kUnit.size()), kUnit)) return std::nullopt;
  header.remove_prefix(kUnit.size());
  const std::size_t dash = header.find('-');
  if (dash == std::string_view::npos) return std::nullopt;
  const auto first = number(header.substr(0, dash));
  const auto last = number(header.substr(dash + 1));
  const bool isOpen = dash + 1 == header.size();
  if (dash == 0) {
    if (!last) return std::nullopt;
    return ByteRange(size - std::min(*last, size), size);
  }
  if (!first || (!last && !isOpen) || (last && *last < *first)) return std::nullopt;
  if (*first >= size) return ByteRange(size, size);
  return ByteRange(*first, last ? std::min(*last, size - 1) + 1 : size);
}

Response fileResponse(const Request& request, FileDescriptor file, std::string_view name) {
  struct stat status {};
  if (fstat(file.number(), &status) != 0) return plainText(404, "There is no such file.\n");
  const auto size = static_cast<std::uint64_t>(status.st_size);
  const std::string tag = tagOf(status);
  Response response;
  response.headers.add("ETag", tag);
  response.headers.add("Cache-Control", "no-cache");
  if (matchesTag(request.headers.get("If-None-Match"), tag)) {
    response.status = 304;
    return response;
  }
  response.contentType = contentTypeOf(name);
  response.headers.add("Accept-Ranges", "bytes");
  response.headers.add("Content-Disposition", disposition(name.substr(name.rfind('/') + 1)));
  ByteRange range(0, size);
  // A client that goes on with a download of another version has to begin again.
  const std::string_view condition = request.headers.get("If-Range");
  const bool isWanted = request.method == "GET" && (condition.empty() || condition == tag);
  if (const auto asked = isWanted ? parseRange(request.headers.get("Range"), size) : std::nullopt) {
    if (asked->first == asked->second) {
      Response refusal = plainText(416, "The file does not have these bytes.\n");
      refusal.headers.add("Content-Range", "bytes */" + std::to_string(size));
      return refusal;
    }
    range = *asked;
    response.status = 206;
    response.headers.add("Content-Range", "bytes " + std::to_string(range.first) + "-" +
                                              std::to_string(range.second - 1) + "/" +
                                              std::to_string(size));
  }
  response.body = std::make_shared<FilePart>(std::move(file), range);
  return response;
}

}  // namespace orvik::server
