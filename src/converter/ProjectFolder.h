#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>

namespace Converter {

/// Finds files by the names that a project has for them. Names come from another system: where a name is not
/// there exactly, one that differs in the case of its (ASCII) letters is taken, the first in byte order.
/// Folders are listed once. Threads: for one thread.
class ProjectFolder {
 public:
  enum class Outside { Refuse, Allow };

  /// What a name leads to.
  struct Place {
    std::optional<std::filesystem::path> file;  ///< nothing: there is no such file
    /// Whether the name, or a link on the way, leads out of the project's folder. With Outside::Refuse there
    /// is no file then: what lies out there was not looked at.
    bool isOutside = false;
  };

  /// @param folder  of the project; its own path may lead over links.
  ProjectFolder(std::filesystem::path folder, Outside outside);

  /// @param name  parts with '/' between them, from the project's folder; it may be absolute, hold "..", or
  ///              begin with a drive's letter, which is outside and never found.
  [[nodiscard]] Place find(const std::string& name);

 private:
  struct Listing {
    bool isBelow = false;                           // the project's folder; others are listed only if allowed
    std::multimap<std::string, std::string> names;  // by the name in small letters, in byte order
  };

  [[nodiscard]] const Listing& listingOf(const std::filesystem::path& folder);
  [[nodiscard]] bool isBelow(const std::filesystem::path& file) const;

  std::filesystem::path folder_;
  std::filesystem::path canonicalFolder_;
  bool allowOutside_;
  std::map<std::filesystem::path, Listing> listed_;
};

}  // namespace Converter
