#pragma once

#include <cstdint>
#include <future>
#include <stop_token>
#include <string>

#include "octree/Location.h"

namespace PoTree {

/// The files of a Potree octree (metadata.json, hierarchy.bin, octree.bin), fetched through
/// Octree::Location::fetchFile, so that range checks, size caps and retries live in one place behind it.
class Location : public Octree::Location {
 public:
  [[nodiscard]] bool exists() const override;

  [[nodiscard]] std::future<std::string> fetchMetaData(std::stop_token stopToken) override;
  void fetchMetaData(MetaDataCallback callback, std::stop_token stopToken) override;
  [[nodiscard]] std::future<std::string> fetchOctreeChunk(std::uint64_t byteOffset, std::uint64_t byteCount,
                                                          std::stop_token stopToken) override;
  [[nodiscard]] std::future<std::string> fetchHierarchyChunk(std::uint64_t byteOffset,
                                                             std::uint64_t byteCount,
                                                             std::stop_token stopToken) override;
  [[nodiscard]] std::future<std::uint64_t> fetchHierarchyFileSize(std::stop_token stopToken) override;

  /// Waits for the bytes of the hierarchy file. False when they could not all be fetched or a stop was
  /// requested; @p bytes is then as it was and @p reason, if given, says why.
  [[nodiscard]] bool fetchHierarchyChunk(std::uint64_t byteOffset, std::uint64_t byteCount,
                                         std::string& bytes, std::stop_token stopToken,
                                         std::string* reason = nullptr);

  /// @throws Core::FormatError when @p bytes, fetched for this range of the hierarchy file, are not its bytes
  ///         in number.
  void requireHierarchyBytes(std::uint64_t byteOffset, std::uint64_t byteCount,
                             const std::string& bytes) const;

 protected:
  static constexpr const char* kMetaDataFile = "metadata.json";
  static constexpr const char* kEntwineMetaDataFile = "ept.json";

 private:
  [[nodiscard]] std::string anyMetaData(const std::stop_token& stopToken) const;
  /// What tells this location from others of its kind.
  [[nodiscard]] virtual std::string identity() const { return toString(); }
  // By kind and identity.
  [[nodiscard]] std::uint64_t hash() const override;
  [[nodiscard]] bool equals(const Octree::Location& other) const override;
  [[nodiscard]] bool less(const Octree::Location& other) const override;
};

}  // namespace PoTree
