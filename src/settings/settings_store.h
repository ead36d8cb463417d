// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

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

  /// Reads a group. @return nothing when there is none.
  [[nodiscard]] std::optional<Group> load(const std::string& name) const;

  /// Replaces values in one or several groups; all others stay. Waits up to `timeout` for the save
  /// of another program.
  /// @return false when the values could not be saved; the file is then unchanged.
  bool save(std::span<const std::string> names, std::span<const Value> values,
            std::chrono::milliseconds timeout = kLockLimit) const;
  bool save(const std::string& name, std::span<const Value> values,
            std::chrono::milliseconds timeout = kLockLimit) const {
    return save(std::span(&name, 1), values, timeout);
  }

  /// Removes groups. The rest as save().
  bool forget(std::span<const std::string> names,
              std::chrono::milliseconds timeout = kLockLimit) const;

  static constexpr std::chrono::milliseconds kLockLimit{1000};

  [[nodiscard]] std::filesystem::path file() const { return folder_ / "settings.json"; }
  /// What prevents this user from saving, as far as that can be found out without writing.
  /// @return an errno, or 0
  [[nodiscard]] int obstacle() const;

 private:
  [[nodiscard]] std::filesystem::path lockFile() const { return folder_ / "settings.lock"; }
  /// Makes the text of the file from its present one; nothing if that is damaged.
  using Edit = std::function<std::optional<std::string>(std::string_view text)>;
  bool change(const Edit& edit, std::chrono::milliseconds timeout) const;
  bool changeLocked(const Edit& edit) const;
  bool putAside(const std::filesystem::path& damaged) const;
  bool replace(const std::filesystem::path& old, const std::string& text) const;

  std::filesystem::path folder_;
  FileSystem* files_;
};

}  // namespace orvik::settings
