// SPDX-License-Identifier: MIT
#include "camera/settings/settings_store.h"

#include <cstdlib>
#include <thread>
#include <utility>

namespace orvik::settings {
namespace fs = std::filesystem;
namespace {

/// A settings file of all models has some 60 KiB.
constexpr std::size_t kMaxFileBytes = std::size_t{1} << 20U;
constexpr int kMaxDamaged = 100;
constexpr std::chrono::milliseconds kLockPause{5};

/// An open file that is closed, and so unlocked, at the end of a scope.
class OpenFile {
 public:
  OpenFile(FileSystem& files, int descriptor) : files_(files), descriptor_(descriptor) {}
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  ~OpenFile() {
    if (descriptor_ >= 0) files_.close(descriptor_);
  }
  [[nodiscard]] bool isOpen() const { return descriptor_ >= 0; }
  [[nodiscard]] int descriptor() const { return descriptor_; }

 private:
  FileSystem& files_;
  int descriptor_;
};

bool lockWithin(FileSystem& files, int descriptor, std::chrono::milliseconds limit) {
  // Between programs there is no other clock than the machine's.
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!files.tryLock(descriptor)) {
    if (std::chrono::steady_clock::now() >= end) return false;
    std::this_thread::sleep_for(kLockPause);
  }
  return true;
}

/// An absolute path; others are to be ignored.
std::optional<fs::path> folderFrom(const char* variable) {
  const char* text = std::getenv(variable);  // NOLINT(concurrency-mt-unsafe): nobody sets it here
  if (text == nullptr || *text != '/') return std::nullopt;
  return fs::path(text);
}

}  // namespace

SettingsStore::SettingsStore(fs::path folder, FileSystem& files)
    : folder_(std::move(folder)), files_(&files) {}

std::optional<SettingsStore> SettingsStore::ofUser(const fs::path& folder) {
  std::optional<fs::path> place = folderFrom("XDG_CONFIG_HOME");
  if (!place) {
    place = folderFrom("HOME");
    if (!place) return std::nullopt;
    *place /= ".config";
  }
  *place /= "orvik";
  return SettingsStore(folder.empty() ? *place : *place / folder);
}

std::optional<Group> SettingsStore::load(const std::string& model) const {
  std::string text;
  if (files_->read(file(), kMaxFileBytes, text) != FileSystem::Read::kDone) return std::nullopt;
  return readGroup(text, model);
}

bool SettingsStore::save(const std::string& model, std::span<const Value> values,
                         std::chrono::milliseconds limit) const {
  if (!files_->makeFolder(folder_)) return false;
  const OpenFile lock(*files_, files_->openLock(folder_ / "settings.lock"));
  return lock.isOpen() && lockWithin(*files_, lock.descriptor(), limit) &&
         saveLocked(model, values);
}

bool SettingsStore::saveLocked(const std::string& model, std::span<const Value> values) const {
  std::string old;
  const FileSystem::Read read = files_->read(file(), kMaxFileBytes, old);
  if (read == FileSystem::Read::kFailed) return false;
  std::optional<std::string> text;
  if (read != FileSystem::Read::kUnfit) text = withValues(old, model, values);
  if (!text) {
    if (!putAside()) return false;
    text = withValues({}, model, values);
  }
  return text && (*text == old || replace(*text));
}

bool SettingsStore::putAside() const {
  for (int n = 1; n <= kMaxDamaged; ++n) {
    const fs::path aside = folder_ / ("settings.damaged-" + std::to_string(n) + ".json");
    if (files_->renameToNew(file(), aside)) return true;
  }
  return false;
}

bool SettingsStore::replace(const std::string& text) const {
  // The lock's holder is the only writer: what a crash left here is its to take.
  const fs::path fresh = folder_ / "settings.json.new";
  {
    const OpenFile out(*files_, files_->openNew(fresh));
    if (!out.isOpen() || !files_->write(out.descriptor(), text) ||
        !files_->sync(out.descriptor())) {
      return false;
    }
  }
  if (!files_->rename(fresh, file())) return false;
  files_->syncFolder(folder_);  // the file is whole either way
  return true;
}

}  // namespace orvik::settings
