#pragma once

#include <filesystem>

namespace Converter {

/// The names that a conversion uses for its output, all in one folder, so that files can be renamed from one
/// to the other.
struct OutputPaths {
  std::filesystem::path output;   ///< absolute; symbolic links are followed, also if the output itself is one
  std::filesystem::path partial;  ///< output + ".partial": the octree while it is written
  std::filesystem::path lock;     ///< output + ".partial.lock": tells that, and by what conversion
  std::filesystem::path old;      ///< output + ".old": the octree that is being replaced

  /// @param given  as the user wrote it: relative, with "." and "..", with a separator at its end.
  /// @throws ConversionError (OutputCannotWrite) when it is empty or cannot be looked up.
  explicit OutputPaths(const std::filesystem::path& given);
};

/// Whether @p path, which may be relative and need not exist, is @p folder (absolute, links followed) or lies
/// in it.
[[nodiscard]] bool isWithin(const std::filesystem::path& path, const std::filesystem::path& folder);

}  // namespace Converter
