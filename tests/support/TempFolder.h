#pragma once

#include <filesystem>
#include <string_view>

namespace Testing {

/// A new empty folder that is removed with all it holds when the object goes. Octrees in it are then handed
/// to keepClouds(), which ends the program if it fails.
class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

  /// Writes a file below the folder, making the folders on the way, and returns its path.
  std::filesystem::path write(const std::filesystem::path& relative, std::string_view bytes) const;

 private:
  std::filesystem::path path_;
};

}  // namespace Testing
