#include "octree/MapLocation.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace Testing {

MapLocation::MapLocation(std::map<std::string, std::string> files,
                         std::vector<std::shared_ptr<Octree::Location>> externals)
    : files_(std::move(files)), externals_(std::move(externals)) {}

void MapLocation::failRequest(std::size_t n) {
  const std::lock_guard lock(mutex_);
  failing_ = requests_.size() + n - 1;
}

void MapLocation::shortenRequest(std::size_t n) {
  const std::lock_guard lock(mutex_);
  shortened_ = requests_.size() + n - 1;
}

void MapLocation::heal() {
  const std::lock_guard lock(mutex_);
  failing_.reset();
  shortened_.reset();
}

std::vector<MapLocation::Request> MapLocation::requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

std::size_t MapLocation::requestsFor(const std::string& name) const {
  const std::vector<Request> all = requests();
  return static_cast<std::size_t>(
      std::count_if(all.begin(), all.end(), [&](const Request& request) { return request.name == name; }));
}

MapLocation::Fault MapLocation::note(const Request& request) const {
  if (watcher_) watcher_(request);
  const std::lock_guard lock(mutex_);
  const std::size_t index = requests_.size();
  requests_.push_back(request);
  return failing_ == index ? Fault::Fail : shortened_ == index ? Fault::Shorten : Fault::None;
}

std::string MapLocation::bytesOf(const Request& request) const {
  const auto file = files_.find(request.name);
  if (file == files_.end()) throw std::runtime_error("map/" + request.name + ": no such file");
  const std::string& bytes = file->second;
  if (request.byteCount == kWholeFile) return bytes;
  if (request.byteOffset > bytes.size() || request.byteCount > bytes.size() - request.byteOffset) {
    throw std::runtime_error("map/" + request.name + ": range leaves the file");
  }
  return bytes.substr(request.byteOffset, request.byteCount);
}

std::future<std::string> MapLocation::fetchFile(const std::string& name, std::uint64_t byteOffset,
                                                std::uint64_t byteCount, std::stop_token) const {
  const bool document = name == "metadata.json" || name == "ept.json";
  const bool data = name == "hierarchy.bin" || name == "octree.bin";
  if ((!document && !data) || document != (byteCount == kWholeFile) || byteCount == 0) {
    ADD_FAILURE() << "unexpected request for " << byteCount << " bytes of " << name;
  }
  return Core::callNow([&] {
    const Request request{name, byteOffset, byteCount};
    const Fault fault = note(request);
    if (fault == Fault::Fail) throw std::runtime_error("map/" + name + ": injected fault");
    std::string bytes = bytesOf(request);
    if (fault == Fault::Shorten && !bytes.empty()) bytes.pop_back();
    return bytes;
  });
}

std::future<std::uint64_t> MapLocation::fetchFileSize(const std::string& name, std::stop_token) const {
  if (name != "hierarchy.bin") ADD_FAILURE() << "unexpected request for the size of " << name;
  return Core::callNow([&] {
    if (note({name, 0, 0}) == Fault::Fail) throw std::runtime_error("map/" + name + ": injected fault");
    return std::uint64_t{bytesOf({name, 0, kWholeFile}).size()};
  });
}

std::shared_ptr<Octree::Octree> openOctree(const std::shared_ptr<Octree::Location>& location,
                                           const Octree::WantedAttributes& wanted) {
  return std::make_shared<Octree::Octree>(location, 1.0, wanted);
}

std::shared_ptr<Octree::Octree> openOctree(const PotreeFiles& files) {
  return openOctree(std::make_shared<MapLocation>(files));
}

Octree::OctreeNodeId nodeAt(std::string_view path) {
  Octree::OctreeNodeId id;
  for (const char digit : path) id = id.child(static_cast<std::uint8_t>(digit - '0'));
  return id;
}

std::vector<StoredPoint> somePoints(std::size_t count, std::uint32_t first) {
  std::vector<StoredPoint> points(count);
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint32_t value = first + static_cast<std::uint32_t>(i);
    const auto small = static_cast<std::uint8_t>(value % 200);
    points[i] = {.position = {value, value, value},
                 .rgb = {small, static_cast<std::uint16_t>(small + 1), static_cast<std::uint16_t>(small + 2)},
                 .intensity = static_cast<std::uint16_t>(1000 + small),
                 .classification = static_cast<std::uint8_t>(small % 20)};
  }
  return points;
}

}  // namespace Testing
