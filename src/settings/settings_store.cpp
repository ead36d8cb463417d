// SPDX-License-Identifier: MIT
#include "settings/settings_store.h"

#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <thread>
#include <utility>

namespace orvik::settings {
namespace fs = std::filesystem;
namespace {

/// A settings file of all models has about 60 KiB.
constexpr std::size_t kMaxFileBytes = std::size_t{1} << 20U;
constexpr int kMaxDamaged = 100;
constexpr std::chrono::milliseconds kLockPause{5};

/// An open file that is closed, and so unlocked, at the end of the scope.
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

bool lockWithin(FileSystem& files, int descriptor, std::chrono::milliseconds timeout) {
  // The lock is shared by programs, so the time is that of the system, not of an injected clock.
  const auto end = std::chrono::steady_clock::now() + timeout;
  while (!files.tryLock(descriptor)) {
    if (std::chrono::steady_clock::now() >= end) return false;
    std::this_thread::sleep_for(kLockPause);
  }
  return true;
}

/// The folder in an environment variable; paths that are not absolute are ignored.
std::optional<fs::path> folderFrom(const char* variable) {
  const char* text = std::getenv(variable);  // NOLINT(concurrency-mt-unsafe): nobody sets it here
  if (text == nullptr || *text != '/') return std::nullopt;
  return fs::path(text);
}

/// The home of the user in the user database: services often have no $HOME.
std::optional<fs::path> listedHome() {
  std::array<char, 16384> texts{};
  passwd entry{};
  passwd* found = nullptr;
  if (getpwuid_r(geteuid(), &entry, texts.data(), texts.size(), &found) != 0 || found == nullptr ||
      entry.pw_dir == nullptr || *entry.pw_dir != '/') {
    return std::nullopt;
  }
  return fs::path(entry.pw_dir);
}

}  // namespace

SettingsStore::SettingsStore(fs::path folder, FileSystem& files)
    : folder_(std::move(folder)), files_(&files) {}

std::optional<SettingsStore> SettingsStore::ofUser(const fs::path& folder) {
  std::optional<fs::path> place = folderFrom("XDG_CONFIG_HOME");
  if (!place) {
    place = folderFrom("HOME");
    if (!place) place = listedHome();
    if (!place) return std::nullopt;
    *place /= ".config";
  }
  *place /= "orvik";
  return SettingsStore(folder.empty() ? *place : *place / folder);
}

std::optional<Group> SettingsStore::load(const std::string& name) const {
  std::string text;
  if (files_->read(file(), kMaxFileBytes, text) != FileSystem::Read::kDone) return std::nullopt;
  return readGroup(text, name);
}

bool SettingsStore::save(std::span<const std::string> names, std::span<const Value> values,
                         std::chrono::milliseconds timeout) const {
  return change([&](std::string_view text) { return withValues(text, names, values); }, timeout);
}

bool SettingsStore::forget(std::span<const std::string> names,
                           std::chrono::milliseconds timeout) const {
  return change([&](std::string_view text) { return withoutGroups(text, names); }, timeout);
}

bool SettingsStore::change(const Edit& edit, std::chrono::milliseconds timeout) const {
  if (!files_->makeFolder(folder_)) return false;
  const OpenFile lock(*files_, files_->openLock(lockFile()));
  return lock.isOpen() && lockWithin(*files_, lock.descriptor(), timeout) && changeLocked(edit);
}

int SettingsStore::obstacle() const {
  const int toLock = files_->obstacleTo(lockFile());
  return toLock != 0 ? toLock : files_->obstacleTo(file());
}

bool SettingsStore::changeLocked(const Edit& edit) const {
  // A symbolic link is kept: some users store their configuration elsewhere.
  const fs::path target = files_->behindLinks(file());
  std::string old;
  const FileSystem::Read read = files_->read(target, kMaxFileBytes, old);
  if (read == FileSystem::Read::kFailed) return false;
  std::optional<std::string> text;
  if (read != FileSystem::Read::kUnfit) text = edit(old);
  if (!text) {
    if (!putAside(target)) return false;
    text = edit({});
  }
  return text && (*text == old || replace(target, *text));
}

bool SettingsStore::putAside(const fs::path& damaged) const {
  for (int n = 1; n <= kMaxDamaged; ++n) {
    const fs::path aside =
        damaged.parent_path() / ("settings.damaged-" + std::to_string(n) + ".json");
    if (files_->renameToNew(damaged, aside)) return true;
  }
  return false;
}

bool SettingsStore::replace(const fs::path& old, const std::string& text) const {
  // The holder of the lock is the only writer: it may overwrite the remains of a crash.
  fs::path fresh = old;
  fresh += ".new";
  {
    const OpenFile out(*files_, files_->openNew(fresh));
    if (!out.isOpen() || !files_->write(out.descriptor(), text) ||
        !files_->sync(out.descriptor())) {
      return false;
    }
  }
  if (!files_->rename(fresh, old)) return false;
  files_->syncFolder(old.parent_path());  // the file is complete even if this fails
  return true;
}

}  // namespace orvik::settings
