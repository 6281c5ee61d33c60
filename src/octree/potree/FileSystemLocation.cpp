#include "octree/potree/FileSystemLocation.h"

#include <algorithm>
#include <utility>

#include "core/FormatError.h"

namespace PoTree {

FileSystemLocation::FileSystemLocation(std::filesystem::path path) : path_(std::move(path)) {}

std::string FileSystemLocation::toString() const { return path_.string(); }

std::vector<std::shared_ptr<Octree::Location>> FileSystemLocation::externalAttributeLocations() const {
  std::vector<std::filesystem::path> folders;
  std::error_code ignored;  // no such folder: no such attributes
  for (const auto& entry : std::filesystem::directory_iterator(path_ / "attributes", ignored)) {
    if (std::filesystem::is_regular_file(entry.path() / "metadata.json", ignored))
      folders.push_back(entry.path());
  }
  std::sort(folders.begin(), folders.end());
  std::vector<std::shared_ptr<Octree::Location>> locations;
  locations.reserve(folders.size());
  for (const auto& folder : folders) locations.push_back(std::make_shared<FileSystemLocation>(folder));
  return locations;
}

std::future<std::string> FileSystemLocation::fetchFile(const std::string& name, std::uint64_t byteOffset,
                                                       std::uint64_t byteCount, std::stop_token) const {
  return Core::callNow([&]() -> std::string {
    if (byteCount == 0) return {};
    const std::shared_ptr<const Core::File> file = open(name);
    if (byteCount != kWholeFile) return file->read(byteOffset, byteCount);
    const std::uint64_t size = file->size();
    if (size > kLargestWholeFile) {
      throw Core::FormatError(Core::Source{(path_ / name).string()}, "file size",
                              "at most " + std::to_string(kLargestWholeFile), std::to_string(size));
    }
    return file->read(0, size);
  });
}

std::future<std::uint64_t> FileSystemLocation::fetchFileSize(const std::string& name, std::stop_token) const {
  return Core::callNow([&] { return open(name)->size(); });
}

std::shared_ptr<const Core::File> FileSystemLocation::open(const std::string& name) const {
  {
    const std::lock_guard lock(mutex_);
    const auto found = files_.find(name);
    if (found != files_.end()) return found->second;
  }
  auto file = std::make_shared<const Core::File>(name.empty() ? path_ : path_ / name);
  const std::lock_guard lock(mutex_);
  return files_.try_emplace(name, std::move(file)).first->second;
}

}  // namespace PoTree
