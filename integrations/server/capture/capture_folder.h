// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "imaging/file_system.h"
#include "integrations/server/camera/change_signal.h"
#include "integrations/server/camera/failure.h"

namespace orvik::server {

/// A file that a capture has written.
struct CapturedFile {
  std::string name;
  std::uint64_t bytes = 0;
  std::chrono::system_clock::time_point time;  ///< when it was written last
};

/// The folder that captures are written to. It is made when the first one needs it. Any thread.
///
/// Only files directly in it count, and only those with the endings of captures, `.fits`, `.png`
/// and `.ser`: nothing else is listed, delivered or deleted. All functions but onChange() wait for
/// the disk.
class CaptureFolder {
 public:
  explicit CaptureFolder(std::filesystem::path folder,
                         imaging::FileSystem& fileSystem = imaging::FileSystem::system());

  /// The state folder that systemd gives a service, else `Pictures/Orvik` in the user's home.
  static std::filesystem::path standard();

  struct Listing {
    std::string folder;
    std::uint64_t free = 0;           ///< bytes on its disk
    std::vector<CapturedFile> files;  ///< the newest first
  };
  /// What it holds, at most the newest 200 files.
  [[nodiscard]] Listing list() const;
  /// Where a file lies; empty unless it is a file of a capture.
  [[nodiscard]] std::optional<std::filesystem::path> find(std::string_view name) const;
  /// Deletes a file, unless it is being written.
  Outcome remove(std::string_view name);

  /// Calls a function after a file was added or removed by the server, on any thread; it must
  /// return at once. Ends when the returned object is destroyed, which waits for a call that is
  /// going on; so not from the function itself.
  [[nodiscard]] std::shared_ptr<void> onChange(std::function<void()> function);

  /// A name that no file has, and that nobody else gets as long as this object exists.
  class NewFile {
   public:
    NewFile(NewFile&& other) noexcept
        : folder_(std::exchange(other.folder_, nullptr)), name_(std::move(other.name_)) {}
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    NewFile& operator=(NewFile&&) = delete;
    ~NewFile();

    [[nodiscard]] const std::string& name() const { return name_; }
    [[nodiscard]] std::filesystem::path path() const { return folder_->folder_ / name_; }

   private:
    friend class CaptureFolder;
    NewFile(CaptureFolder* folder, std::string name) : folder_(folder), name_(std::move(name)) {}

    CaptureFolder* folder_;
    std::string name_;
  };

  /// @name For captures
  /// @{
  /// Makes the folder if it does not exist.
  /// @throws imaging::FileError
  void make();
  /// @throws imaging::FileError unless files can be made in the folder
  void requireWritable() const;
  /// The next of a series of images: moon_0001.fits, or one more than the highest number that
  /// exists.
  ///
  /// @param last the number of the one before, 0 for the first; becomes that of this one
  NewFile newImage(const std::string& beginning, const std::string& ending, std::int64_t& last);
  /// moon.ser, or moon-2.ser and so on.
  NewFile newVideo(const std::string& beginning);
  /// Tells those who asked that files were added.
  void changed() { changed_.tell(); }
  [[nodiscard]] imaging::FileSystem& fileSystem() const { return fileSystem_; }
  /// @}

 private:
  [[nodiscard]] bool tryReserve(const std::string& name);
  [[nodiscard]] std::int64_t highest(const std::string& beginning, const std::string& ending) const;

  std::filesystem::path folder_;
  imaging::FileSystem& fileSystem_;
  mutable std::mutex mutex_;
  std::set<std::string, std::less<>> inUse_;  // names that captures are writing to
  ChangeSignal changed_;
};

}  // namespace orvik::server
