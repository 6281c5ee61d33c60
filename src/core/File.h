#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>

#include "core/Descriptor.h"
#include "core/FileSystem.h"

namespace Core {

/// A file on disk, open for reading by position. Threads: all calls are safe together, there is no current
/// position.
class File final : public ReadableFile {
 public:
  /// @throws std::system_error naming the path when it cannot be opened, or is not a regular file.
  explicit File(const std::filesystem::path& path);

  [[nodiscard]] std::uint64_t size() const override { return descriptor_.size(); }
  [[nodiscard]] std::int64_t modificationTime() const override { return descriptor_.modificationTime(); }
  void read(std::uint64_t offset, std::span<std::byte> out) const override;

  /// Reads @p size bytes at @p offset. Allocates only after the range was found to lie inside the file.
  /// @throws as the other read().
  [[nodiscard]] std::string read(std::uint64_t offset, std::uint64_t size) const;

 private:
  Descriptor descriptor_;
};

}  // namespace Core
