#include "support/PotreeFiles.h"

#include <nlohmann/json.hpp>
#include <utility>

namespace Testing {
namespace {

using nlohmann::json;

json declared(std::string_view name) {
  const DeclaredAttribute& attribute = declaredAttribute(name);
  const auto elements = static_cast<std::size_t>(attribute.numElements);
  return {{"name", attribute.name},
          {"description", ""},
          {"size", attribute.size},
          {"numElements", attribute.numElements},
          {"elementSize", attribute.size / attribute.numElements},
          {"type", attribute.type},
          {"min", std::vector<double>(elements, 0)},
          {"max", std::vector<double>(elements, 1000)}};
}

}  // namespace

std::string HierarchyRecord::bytes() const {
  return littleEndian(type, childMask, numPoints, byteOffset, byteSize);
}

PotreeFiles& PotreeFiles::set(std::string pointer, std::string jsonText) {
  changes_.push_back({std::move(pointer), std::move(jsonText)});
  return *this;
}

PotreeFiles& PotreeFiles::remove(std::string pointer) { return set(std::move(pointer), ""); }

PotreeFiles& PotreeFiles::attributes(std::vector<std::string> names) {
  attributeNames_ = std::move(names);
  return *this;
}

PotreeFiles& PotreeFiles::endFirstChunk() {
  return set("/hierarchy/firstChunkSize", std::to_string(hierarchy_.size()));
}

PotreeFiles& PotreeFiles::record(const HierarchyRecord& record) {
  hierarchy_ += record.bytes();
  if ((record.type & 0x0F) != HierarchyRecord::kProxy) points_ += record.numPoints;
  return *this;
}

PotreeFiles& PotreeFiles::proxy(std::uint64_t firstRecord, std::uint64_t records) {
  return record({.type = HierarchyRecord::kProxy,
                 .byteOffset = firstRecord * HierarchyRecord::kSize,
                 .byteSize = records * HierarchyRecord::kSize});
}

PotreeFiles& PotreeFiles::node(std::uint8_t childMask, std::uint32_t numPoints, std::string_view data) {
  const std::uint64_t offset = octree_.size();
  octree_ += data;
  return record({.type = childMask != 0 ? HierarchyRecord::kNormal : HierarchyRecord::kLeaf,
                 .childMask = childMask,
                 .numPoints = numPoints,
                 .byteOffset = offset,
                 .byteSize = data.size()});
}

PotreeFiles& PotreeFiles::node(std::uint8_t childMask, std::span<const StoredPoint> points) {
  return node(childMask, static_cast<std::uint32_t>(points.size()), encodeRecords(points, attributeNames_));
}

std::string PotreeFiles::metaData() const {
  json document = {
      {"version", "2.0"},
      {"name", "small"},
      {"description", ""},
      {"points", points_},
      {"projection", ""},
      {"hierarchy", {{"firstChunkSize", hierarchy_.size()}, {"stepSize", 4}, {"depth", 1}}},
      {"offset", {100, 200, 300}},
      {"scale", {0.5, 0.5, 0.5}},
      {"spacing", 0.5},
      {"boundingBox", {{"min", {100, 200, 300}}, {"max", {164, 264, 364}}}},
      {"encoding", "DEFAULT"},
  };
  document["attributes"] = json::array();
  for (const std::string& name : attributeNames_) {
    document["attributes"].push_back(declared(name));
    if (name != "position") continue;  // the points' own box, in world coordinates
    document["attributes"].back()["min"] = {100, 200, 300};
    document["attributes"].back()["max"] = {164, 264, 364};
  }
  for (const Change& change : changes_) {
    const json::json_pointer place(change.pointer);
    if (!change.json.empty()) {
      document[place] = json::parse(change.json);
    } else if (json& parent = document.at(place.parent_pointer()); parent.is_array()) {
      parent.erase(static_cast<std::size_t>(std::stoul(place.back())));
    } else {
      parent.erase(place.back());
    }
  }
  return document.dump(1);
}

std::map<std::string, std::string> PotreeFiles::files() const {
  return {{"metadata.json", metaData()}, {"hierarchy.bin", hierarchy_}, {"octree.bin", octree_}};
}

void PotreeFiles::write(const TempFolder& folder, const std::filesystem::path& below) const {
  for (const auto& [name, bytes] : files()) folder.write(below / name, bytes);
}

}  // namespace Testing
