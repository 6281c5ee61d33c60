#pragma once

#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

#include "core/Futures.h"

namespace Octree {

/// Where a point cloud is stored. It fetches bytes and knows nothing of what they mean. A location makes no
/// request and touches no disk until it is asked.
/// Threads: all calls are safe together.
class Location {
 public:
  /// The size that asks fetchFile for a whole file.
  static constexpr std::uint64_t kWholeFile = UINT64_MAX;
  /// The largest file that is fetched whole.
  static constexpr std::uint64_t kLargestWholeFile = std::uint64_t{64} << 20U;

  using MetaDataCallback = std::function<void(const Core::RequestResult&, const std::string&)>;

  virtual ~Location() = default;

  /// Whether the storage can be reached and holds a point cloud: one of metadata.json and ept.json can be
  /// fetched. Never throws for a location that cannot be reached.
  [[nodiscard]] virtual bool exists() const = 0;
  /// The path or URL.
  [[nodiscard]] virtual std::string toString() const = 0;
  /// Further locations that hold more attributes of the same points; none in the base.
  [[nodiscard]] virtual std::vector<std::shared_ptr<Location>> externalAttributeLocations() const;

 private:
  /// Consistent with equals.
  [[nodiscard]] virtual std::uint64_t hash() const = 0;
  [[nodiscard]] virtual bool equals(const Location& other) const = 0;
  /// A strict weak order over locations of all kinds.
  [[nodiscard]] virtual bool less(const Location& other) const = 0;

 public:
  // Every future below holds the exception of its request when that failed: a std::runtime_error that names
  // the path or URL.

  /// The whole metadata document: metadata.json, or ept.json where that is missing.
  [[nodiscard]] virtual std::future<std::string> fetchMetaData(std::stop_token stopToken) = 0;
  /// The same, given to @p callback, which is called once, possibly before this returns.
  virtual void fetchMetaData(MetaDataCallback callback, std::stop_token stopToken) = 0;
  /// @p byteCount bytes of the octree data file from @p byteOffset on.
  [[nodiscard]] virtual std::future<std::string> fetchOctreeChunk(std::uint64_t byteOffset,
                                                                  std::uint64_t byteCount,
                                                                  std::stop_token stopToken) = 0;
  /// @p byteCount bytes of the hierarchy file from @p byteOffset on.
  [[nodiscard]] virtual std::future<std::string> fetchHierarchyChunk(std::uint64_t byteOffset,
                                                                     std::uint64_t byteCount,
                                                                     std::stop_token stopToken) = 0;
  /// The size of the hierarchy file in bytes.
  [[nodiscard]] virtual std::future<std::uint64_t> fetchHierarchyFileSize(std::stop_token stopToken) = 0;

  /// @p byteCount bytes from @p byteOffset on of the file @p name below the location (empty: the location
  /// itself, when it is a file). kWholeFile asks for all of it, refused beyond kLargestWholeFile; 0 bytes
  /// makes no request. A range that leaves the file fails.
  [[nodiscard]] virtual std::future<std::string> fetchFile(const std::string& name, std::uint64_t byteOffset,
                                                           std::uint64_t byteCount,
                                                           std::stop_token stopToken) const = 0;
  [[nodiscard]] virtual std::future<std::uint64_t> fetchFileSize(const std::string& name,
                                                                 std::stop_token stopToken) const = 0;

  /// Whether a fetch does its work in the call and gives a future that is ready, as from disk. Otherwise
  /// calls return at once and many requests may be under way together.
  [[nodiscard]] virtual bool fetchesInTheCall() const { return false; }

  friend bool operator==(const Location& a, const Location& b) { return a.equals(b); }
  friend bool operator<(const Location& a, const Location& b) { return a.less(b); }
  friend struct std::hash<Location>;
};

}  // namespace Octree

template <>
struct std::hash<Octree::Location> {
  std::size_t operator()(const Octree::Location& location) const { return location.hash(); }
};
