#pragma once

#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "converter/ConversionError.h"
#include "converter/OutputFolder.h"
#include "core/FileSystem.h"
#include "support/FaultyFileSystem.h"
#include "support/TempFolder.h"

namespace Testing {

/// The names in a folder, sorted.
[[nodiscard]] std::vector<std::string> names(const std::filesystem::path& folder);

/// Writes the three files of an octree, each holding @p content.
void writeOctree(Core::FileSystem& files, const std::filesystem::path& folder, std::string_view content);

/// The content of the octree that writeOctree() wrote: "none" when nothing is there, and "half" for anything
/// else than a whole one.
[[nodiscard]] std::string octreeAt(const std::filesystem::path& folder);

/// A folder for outputs, and conversions that write "new".
class OutputFolders : public testing::Test {
 public:
  [[nodiscard]] std::filesystem::path path(const std::filesystem::path& name) const {
    return folder_.path() / name;
  }
  [[nodiscard]] static Converter::OutputOptions overwrite();

  void writeOctree(const std::filesystem::path& folder, std::string_view content) {
    Testing::writeOctree(files_, folder, content);
  }
  /// A whole conversion. @return its remarks.
  std::vector<std::string> convert(const std::filesystem::path& output,
                                   const Converter::OutputOptions& options = {});
  /// How such a conversion ends.
  Converter::Result resultOf(const std::filesystem::path& output,
                             const Converter::OutputOptions& options = {});

  /// Matches a callable that throws a ConversionError of that result.
  static auto fails(Converter::Result result) {
    return testing::Throws<Converter::ConversionError>(
        testing::Property(&Converter::ConversionError::result, result));
  }

  Core::DiskFileSystem files_{Core::DiskFileSystem::Sync::No};
  TempFolder folder_;
};

}  // namespace Testing
