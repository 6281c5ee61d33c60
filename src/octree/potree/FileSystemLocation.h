#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "core/File.h"
#include "octree/potree/Location.h"

namespace PoTree {

/// An octree in a folder. Files are opened when they are first asked for and stay open; they are read by
/// position, so that many threads share one location, and all futures are ready at once.
class FileSystemLocation final : public Location {
 public:
  explicit FileSystemLocation(std::filesystem::path path);

  [[nodiscard]] std::string toString() const override;
  /// Each subfolder of `attributes` that holds a metadata.json, in the order of their names.
  [[nodiscard]] std::vector<std::shared_ptr<Octree::Location>> externalAttributeLocations() const override;

  [[nodiscard]] std::future<std::string> fetchFile(const std::string& name, std::uint64_t byteOffset,
                                                   std::uint64_t byteCount,
                                                   std::stop_token stopToken) const override;
  [[nodiscard]] std::future<std::uint64_t> fetchFileSize(const std::string& name,
                                                         std::stop_token stopToken) const override;
  [[nodiscard]] bool fetchesInTheCall() const override { return true; }

 private:
  [[nodiscard]] std::shared_ptr<const Core::File> open(const std::string& name) const;

  std::filesystem::path path_;
  mutable std::mutex mutex_;
  mutable std::map<std::string, std::shared_ptr<const Core::File>> files_;  // guarded by mutex_
};

}  // namespace PoTree
