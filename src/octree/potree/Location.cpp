#include "octree/potree/Location.h"

#include <exception>
#include <stdexcept>
#include <typeinfo>
#include <utility>

#include "core/FormatError.h"
#include "core/http/HttpError.h"

namespace PoTree {
namespace {

constexpr const char* kHierarchyFile = "hierarchy.bin";
constexpr const char* kOctreeFile = "octree.bin";

}  // namespace

/// One of the two metadata documents. A server that is out of reach, which its first answer says, is not
/// asked for the second.
std::string Location::anyMetaData(const std::stop_token& stopToken) const {
  std::string first;
  try {
    return fetchFile(kMetaDataFile, 0, kWholeFile, stopToken).get();
  } catch (const Core::HttpError& error) {
    if (!error.isRefusal()) throw;
    first = error.what();
  } catch (const std::exception& error) {
    first = error.what();
  }
  try {
    return fetchFile(kEntwineMetaDataFile, 0, kWholeFile, stopToken).get();
  } catch (const std::exception& error) {
    throw std::runtime_error(first == error.what() ? first : first + "; " + error.what());
  }
}

bool Location::exists() const {
  try {
    (void)anyMetaData({});
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

std::future<std::string> Location::fetchMetaData(std::stop_token stopToken) {
  return Core::callNow([&] { return anyMetaData(stopToken); });
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

std::uint64_t Location::hash() const { return std::hash<std::string>{}(identity()); }

bool Location::equals(const Octree::Location& other) const {
  return typeid(*this) == typeid(other) && identity() == dynamic_cast<const Location&>(other).identity();
}

bool Location::less(const Octree::Location& other) const {
  if (typeid(*this) != typeid(other)) return typeid(*this).before(typeid(other));
  return identity() < dynamic_cast<const Location&>(other).identity();
}

}  // namespace PoTree
