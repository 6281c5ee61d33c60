#include "octree/potree/Location.h"

#include <exception>
#include <stdexcept>
#include <typeinfo>
#include <utility>

#include "core/FormatError.h"

namespace PoTree {
namespace {

constexpr const char* kMetaDataFile = "metadata.json";
constexpr const char* kEntwineMetaDataFile = "ept.json";
constexpr const char* kHierarchyFile = "hierarchy.bin";
constexpr const char* kOctreeFile = "octree.bin";

std::string wholeFile(const Octree::Location& location, const char* name, const std::stop_token& stopToken) {
  return location.fetchFile(name, 0, Octree::Location::kWholeFile, stopToken).get();
}

std::string anyMetaData(const Octree::Location& location, const std::stop_token& stopToken) {
  std::string first;
  try {
    return wholeFile(location, kMetaDataFile, stopToken);
  } catch (const std::exception& error) {
    first = error.what();
  }
  try {
    return wholeFile(location, kEntwineMetaDataFile, stopToken);
  } catch (const std::exception& error) {
    throw std::runtime_error(first == error.what() ? first : first + "; " + error.what());
  }
}

}  // namespace

bool Location::exists() const {
  try {
    (void)anyMetaData(*this, {});
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

std::future<std::string> Location::fetchMetaData(std::stop_token stopToken) {
  return Core::callNow([&] { return anyMetaData(*this, stopToken); });
}

void Location::fetchMetaData(MetaDataCallback callback, std::stop_token stopToken) {
  Core::RequestResult result;
  std::string document;
  try {
    document = fetchMetaData(std::move(stopToken)).get();
    result.succeeded = true;
  } catch (const std::exception& error) {
    result.message = error.what();
  }
  callback(result, document);
}

std::future<std::string> Location::fetchOctreeChunk(std::uint64_t byteOffset, std::uint64_t byteCount,
                                                    std::stop_token stopToken) {
  return fetchFile(kOctreeFile, byteOffset, byteCount, std::move(stopToken));
}

std::future<std::string> Location::fetchHierarchyChunk(std::uint64_t byteOffset, std::uint64_t byteCount,
                                                       std::stop_token stopToken) {
  return fetchFile(kHierarchyFile, byteOffset, byteCount, std::move(stopToken));
}

std::future<std::uint64_t> Location::fetchHierarchyFileSize(std::stop_token stopToken) {
  return fetchFileSize(kHierarchyFile, std::move(stopToken));
}

bool Location::fetchHierarchyChunk(std::uint64_t byteOffset, std::uint64_t byteCount, std::string& bytes,
                                   std::stop_token stopToken, std::string* reason) {
  const auto fail = [&](const std::string& why) {
    if (reason != nullptr) *reason = why;
    return false;
  };
  try {
    std::string fetched = fetchHierarchyChunk(byteOffset, byteCount, stopToken).get();
    if (stopToken.stop_requested()) return fail("stopped");
    requireHierarchyBytes(byteOffset, byteCount, fetched);
    bytes = std::move(fetched);
    return true;
  } catch (const std::exception& error) {
    return fail(error.what());
  }
}

void Location::requireHierarchyBytes(std::uint64_t byteOffset, std::uint64_t byteCount,
                                     const std::string& bytes) const {
  if (bytes.size() == byteCount) return;
  throw Core::FormatError({toString() + '/' + kHierarchyFile, byteOffset}, "bytes of the hierarchy chunk",
                          std::to_string(byteCount), std::to_string(bytes.size()));
}

std::uint64_t Location::hash() const { return std::hash<std::string>{}(toString()); }

bool Location::equals(const Octree::Location& other) const {
  return typeid(*this) == typeid(other) && toString() == other.toString();
}

bool Location::less(const Octree::Location& other) const {
  const std::string mine = toString();
  const std::string theirs = other.toString();
  return mine != theirs ? mine < theirs : typeid(*this).before(typeid(other));
}

}  // namespace PoTree
