#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "octree/Octree.h"
#include "octree/potree/Location.h"
#include "support/PotreeFiles.h"

namespace Testing {

/// An octree's files in memory. It counts what is asked for, fails the running test when a request is none
/// that a reader of octrees makes, and can go wrong on demand. Threads: all calls are safe together.
class MapLocation final : public PoTree::Location {
 public:
  struct Request {
    std::string name;
    std::uint64_t byteOffset = 0;
    std::uint64_t byteCount = 0;

    bool operator==(const Request&) const = default;
  };
  /// Sees every request before it is answered, without any lock: it may wait, throw or request a stop.
  using Watcher = std::function<void(const Request&)>;

  explicit MapLocation(std::map<std::string, std::string> files,
                       std::vector<std::shared_ptr<Octree::Location>> externals = {});
  explicit MapLocation(const PotreeFiles& files) : MapLocation(files.files()) {}

  void watch(Watcher watcher) { watcher_ = std::move(watcher); }
  /// The n-th request from now on fails; 1 is the next one.
  void failRequest(std::size_t n);
  /// The n-th request from now on lacks its last byte.
  void shortenRequest(std::size_t n);
  /// No request fails any more that has not failed yet.
  void heal();
  /// Replaces a file.
  void put(const std::string& name, std::string bytes) { files_[name] = std::move(bytes); }

  [[nodiscard]] std::vector<Request> requests() const;
  /// How many bytes requests there were for a file.
  [[nodiscard]] std::size_t requestsFor(const std::string& name) const;

  [[nodiscard]] std::string toString() const override { return "map"; }
  [[nodiscard]] std::vector<std::shared_ptr<Octree::Location>> externalAttributeLocations() const override {
    return externals_;
  }
  [[nodiscard]] std::future<std::string> fetchFile(const std::string& name, std::uint64_t byteOffset,
                                                   std::uint64_t byteCount,
                                                   std::stop_token stopToken) const override;
  [[nodiscard]] std::future<std::uint64_t> fetchFileSize(const std::string& name,
                                                         std::stop_token stopToken) const override;
  [[nodiscard]] bool fetchesInTheCall() const override { return true; }

 private:
  enum class Fault { None, Fail, Shorten };

  Fault note(const Request& request) const;
  [[nodiscard]] std::string bytesOf(const Request& request) const;

  std::map<std::string, std::string> files_;
  const std::vector<std::shared_ptr<Octree::Location>> externals_;
  Watcher watcher_;
  mutable std::mutex mutex_;
  mutable std::vector<Request> requests_;  // guarded by mutex_
  std::optional<std::size_t> failing_;     // index into requests_
  std::optional<std::size_t> shortened_;   // index into requests_
};

/// An octree opened with the position factor 1.
[[nodiscard]] std::shared_ptr<Octree::Octree> openOctree(const std::shared_ptr<Octree::Location>& location,
                                                         const Octree::WantedAttributes& wanted = {});
[[nodiscard]] std::shared_ptr<Octree::Octree> openOctree(const PotreeFiles& files);

/// The node reached from the root by these child indices: "" is the root, "07" its first child's last child.
[[nodiscard]] Octree::OctreeNodeId nodeAt(std::string_view path);

/// @p count points with positions (first, first, first), (first + 1, ...), and the other values small.
[[nodiscard]] std::vector<StoredPoint> somePoints(std::size_t count, std::uint32_t first = 0);

/// The message of the std::exception that @p call throws; "nothing thrown" otherwise.
template <class Call>
[[nodiscard]] std::string messageOf(const Call& call) {
  try {
    call();
  } catch (const std::exception& error) {
    return error.what();
  }
  return "nothing thrown";
}

}  // namespace Testing
