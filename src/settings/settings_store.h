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

/// The settings of a user: the file `settings.json` in a folder, or the target of that link.
///
/// A save replaces the whole file atomically, so that no reader ever sees half of it, even after a
/// crash or with a full disk; the lock file `settings.lock` in the same folder serialises the saves
/// of several programs. A damaged file reads as empty; the next save renames it to
/// `settings.damaged-<n>.json`, where the user can repair it. Reading writes nothing.
///
/// Nothing here throws except std::bad_alloc. Any thread, any number of processes.
class SettingsStore {
 public:
  explicit SettingsStore(std::filesystem::path folder, FileSystem& files = FileSystem::system());

  /// The store of the user: `$XDG_CONFIG_HOME/orvik`, or else `.config/orvik` in `$HOME`, or else
  /// in the home according to the user database.
  /// @param folder below that folder, "" for the folder itself
  /// @return nothing if the user has none of these.
  static std::optional<SettingsStore> ofUser(const std::filesystem::path& folder = {});

  /// Reads the values of one model. @return nothing when there are none.
  [[nodiscard]] std::optional<Group> load(const std::string& model) const;

  /// Replaces values of one model; all others stay. Waits up to `timeout` for the save of another
  /// program.
  /// @return false when the values could not be saved; the file is then unchanged.
  bool save(const std::string& model, std::span<const Value> values,
            std::chrono::milliseconds timeout = kLockLimit) const;

  static constexpr std::chrono::milliseconds kLockLimit{1000};

  [[nodiscard]] std::filesystem::path file() const { return folder_ / "settings.json"; }
  /// What prevents this user from saving, as far as that can be found out without writing.
  /// @return an errno, or 0
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
