// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <span>
#include <string>

#include "base/file_system.h"
#include "settings/setting_values.h"

namespace orvik::settings {

/// A user's settings: the file `settings.json` in a folder, or what it links to.
///
/// A save replaces the file as a whole, so that a reader, a crash or a full disk never meets half
/// of it; a lock beside it (`settings.lock`) keeps the saves of several programs apart. A file that
/// is damaged reads as empty; the next save puts it aside as `settings.damaged-<n>.json`, where its
/// owner can mend it. Reading writes nothing.
///
/// Nothing here throws but for want of memory. Any thread, any number of processes.
class SettingsStore {
 public:
  explicit SettingsStore(std::filesystem::path folder, FileSystem& files = FileSystem::system());

  /// The user's own: `$XDG_CONFIG_HOME/orvik`, or else `.config/orvik` in `$HOME`, or else in the
  /// home that the system's list of users names.
  /// @param folder below it, "" for itself
  /// @return none where the user has none of these.
  static std::optional<SettingsStore> ofUser(const std::filesystem::path& folder = {});

  /// Reads the values of one model. @return none when there are none to be had.
  [[nodiscard]] std::optional<Group> load(const std::string& model) const;

  /// Replaces values of one model and leaves all others as they are. Waits up to `limit` for
  /// another program's save.
  /// @return false when the values could not be kept; then the file is as it was.
  bool save(const std::string& model, std::span<const Value> values,
            std::chrono::milliseconds limit = kLockLimit) const;

  static constexpr std::chrono::milliseconds kLockLimit{1000};

  [[nodiscard]] std::filesystem::path file() const { return folder_ / "settings.json"; }
  /// What keeps this user from saving, as far as it shows without writing. @return an errno, or 0
  [[nodiscard]] int obstacle() const;

 private:
  [[nodiscard]] std::filesystem::path lockFile() const { return folder_ / "settings.lock"; }
  bool saveLocked(const std::string& model, std::span<const Value> values) const;
  bool putAside(const std::filesystem::path& damaged) const;
  bool replace(const std::filesystem::path& old, const std::string& text) const;

  std::filesystem::path folder_;
  FileSystem* files_;
};

}  // namespace orvik::settings
