// SPDX-License-Identifier: MIT
#include "integrations/server/capture/capture_folder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>

#include "imaging/errors.h"
#include "imaging/save_file.h"
#include "integrations/server/capture/file_names.h"

namespace orvik::server {
namespace fs = std::filesystem;
namespace {

constexpr std::size_t kMostFiles = 200;

/// What is known of a regular file, without following a link.
std::optional<CapturedFile> captured(const fs::path& folder, const std::string& name) {
  struct stat facts {};
  if (::lstat((folder / name).c_str(), &facts) != 0 || !S_ISREG(facts.st_mode)) return {};
  const auto sinceEpoch =
      std::chrono::seconds(facts.st_mtim.tv_sec) + std::chrono::nanoseconds(facts.st_mtim.tv_nsec);
  return CapturedFile{
      .name = name,
      .bytes = static_cast<std::uint64_t>(facts.st_size),
      .time = std::chrono::system_clock::time_point(
          std::chrono::duration_cast<std::chrono::system_clock::duration>(sinceEpoch))};
}

/// Calls a function with the name of each entry of a folder, as far as it can be read.
template <typename Function>
void forEachName(const fs::path& folder, Function function) {
  std::error_code error;
  fs::directory_iterator entry(folder, error);
  for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
    function(entry->path().filename().string());
  }
}

std::uint64_t freeBytes(fs::path folder) {
  // The disk of a folder that is not made yet is that of the next one above.
  for (;;) {
    std::error_code error;
    const fs::space_info space = fs::space(folder, error);
    if (!error) return space.available;
    if (!folder.has_relative_path()) return 0;
    folder = folder.parent_path();
  }
}

bool isOurs(std::string_view name) { return isPlainName(name) && hasCaptureEnding(name); }

bool isTaken(const fs::path& file) {
  struct stat facts {};
  return ::lstat(file.c_str(), &facts) == 0;
}

/// The value of an environment variable, "" unless it is an absolute path.
std::string absolutePath(const char* variable) {
  const char* text = std::getenv(variable);  // NOLINT(concurrency-mt-unsafe): nobody sets it here
  return text != nullptr && *text == '/' ? text : "";
}

std::string imageName(const std::string& beginning, std::int64_t number,
                      const std::string& ending) {
  std::array<char, 24> digits{};
  std::snprintf(digits.data(), digits.size(), "_%04lld", static_cast<long long>(number));
  return beginning + digits.data() + ending;
}

}  // namespace

CaptureFolder::CaptureFolder(fs::path folder, imaging::FileSystem& fileSystem)
    : folder_(std::move(folder)), fileSystem_(fileSystem) {
  std::error_code error;
  const fs::path whole = fs::absolute(folder_, error);
  if (!error) folder_ = whole.lexically_normal();
}

fs::path CaptureFolder::standard() {
  // systemd gives several folders with colons between them.
  const std::string state = absolutePath("STATE_DIRECTORY");
  if (!state.empty()) return state.substr(0, state.find(':'));
  const std::string home = absolutePath("HOME");
  return fs::path(home.empty() ? "." : home) / "Pictures" / "Orvik";
}

CaptureFolder::Listing CaptureFolder::list() const {
  Listing listing{.folder = folder_.string(), .free = freeBytes(folder_), .files = {}};
  std::vector<CapturedFile>& files = listing.files;
  forEachName(folder_, [&](const std::string& name) {
    if (!isOurs(name)) return;
    if (auto file = captured(folder_, name)) files.push_back(std::move(*file));
  });
  const auto shown =
      files.begin() + static_cast<std::ptrdiff_t>(std::min(files.size(), kMostFiles));
  std::partial_sort(files.begin(), shown, files.end(), [](const auto& one, const auto& other) {
    return one.time != other.time ? one.time > other.time : one.name > other.name;
  });
  files.erase(shown, files.end());
  return listing;
}

std::optional<fs::path> CaptureFolder::find(std::string_view name) const {
  if (!isOurs(name) || !captured(folder_, std::string(name))) return std::nullopt;
  return folder_ / name;
}

Outcome CaptureFolder::remove(std::string_view name) {
  const std::string shown(isPlainName(name) ? name : "this name");
  {
    // Held until the file is gone, lest a capture begins to write it.
    const std::scoped_lock lock(mutex_);
    const auto file = find(name);
    if (!file) {
      return Failure{.kind = Failure::Kind::kBadValue,
                     .message = "There is no captured file " + shown + "."};
    }
    if (inUse_.contains(name)) {
      return Failure{.kind = Failure::Kind::kBusy, .message = shown + " is being written."};
    }
    std::error_code error;
    fs::remove(*file, error);
    if (error) {
      return Failure{.kind = Failure::Kind::kFile,
                     .message = "Cannot delete " + shown + ": " + error.message() + "."};
    }
  }
  changed();
  return {};
}

std::shared_ptr<void> CaptureFolder::onChange(std::function<void()> function) {
  return changed_.connect(std::move(function));
}

void CaptureFolder::make() {
  std::error_code error;
  fs::create_directories(folder_, error);
  std::error_code ignored;
  if (error && !fs::is_directory(folder_, ignored)) {
    throw imaging::FileError("cannot make the folder " + folder_.string() + ": " + error.message() +
                             ".");
  }
}

void CaptureFolder::requireWritable() const {
  if (::access(folder_.c_str(), W_OK | X_OK) != 0) imaging::failWrite(folder_, errno);
}

CaptureFolder::NewFile CaptureFolder::newImage(const std::string& beginning,
                                               const std::string& ending, std::int64_t& last) {
  if (last == 0) last = highest(beginning + "_", ending);
  for (;;) {
    std::string name = imageName(beginning, ++last, ending);
    if (tryReserve(name)) return {this, std::move(name)};
  }
}

CaptureFolder::NewFile CaptureFolder::newVideo(const std::string& beginning) {
  constexpr const char* kEnding = ".ser";
  std::int64_t number = highest(beginning + "-", kEnding);
  for (;;) {
    ++number;
    std::string name = beginning;
    if (number > 1) name.append("-").append(std::to_string(number));
    name += kEnding;
    if (tryReserve(name)) return {this, std::move(name)};
  }
}

bool CaptureFolder::tryReserve(const std::string& name) {
  const std::scoped_lock lock(mutex_);
  return !isTaken(folder_ / name) && inUse_.insert(name).second;
}

std::int64_t CaptureFolder::highest(const std::string& beginning, const std::string& ending) const {
  std::int64_t number = 0;
  forEachName(folder_, [&](const std::string& name) {
    number = std::max(number, numberIn(name, beginning, ending));
  });
  return number;
}

CaptureFolder::NewFile::~NewFile() {
  if (folder_ == nullptr) return;
  const std::scoped_lock lock(folder_->mutex_);
  folder_->inUse_.erase(name_);
}

}  // namespace orvik::server
