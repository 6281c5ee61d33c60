#pragma once

#include <filesystem>
#include <memory>
#include <optional>

#include "core/Descriptor.h"

namespace Converter {

/// What a conversion notes of itself, so that a later one can clean up if it is killed.
struct LockRecord {
  bool setsAside = false;           ///< it renames the octree that it replaces to ".old", or has done so
  std::filesystem::path temporary;  ///< its temporary folder: absolute, with a name of temporaryFolderName()

  bool operator==(const LockRecord&) const = default;
};

/// A name that no other conversion and no user gives to a folder: it alone is removed by a later conversion.
[[nodiscard]] std::filesystem::path temporaryFolderName();

/// The file that says that a conversion is at work. Its owner holds a lock (flock) on it as long as it lives,
/// so a file without a lock was left by a conversion that was killed, and holds its record.
/// Every std::system_error names the path. Threads: one at a time.
class OutputLock {
 public:
  /// Makes the file, or takes the one that was left.
  /// @throws ConversionError (OutputCannotWrite) when another conversion holds the lock; std::system_error.
  explicit OutputLock(const std::filesystem::path& path);

  /// What was last noted, by this conversion or by the killed one. Nothing for a file that holds no record,
  /// as when it was made just now.
  [[nodiscard]] const std::optional<LockRecord>& record() const { return record_; }
  /// Notes a record and waits until the disk has it. @throws std::system_error.
  void note(const LockRecord& record);
  /// Removes the file, while it is still locked; without this call it stays. @throws std::system_error.
  void remove();

 private:
  std::unique_ptr<Core::Descriptor> file_;
  std::optional<LockRecord> record_;
};

}  // namespace Converter
