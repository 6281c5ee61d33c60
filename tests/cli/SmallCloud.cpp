#include "cli/SmallCloud.h"

#include <bit>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace Testing {
namespace {

using Json = nlohmann::json;

constexpr std::uint64_t kSpacing = 10;
constexpr double kCube = 100;

void append(std::uint64_t number, std::size_t size, std::string& bytes) {
  for (std::size_t i = 0; i < size; ++i) bytes += static_cast<char>(number >> 8 * i & 0xFFU);
}

std::string octree(const SmallCloud& cloud) {
  std::string bytes;
  for (const SmallPoint& point : cloud.points) {
    for (const std::int32_t steps : point.position) append(static_cast<std::uint32_t>(steps), 4, bytes);
    if (cloud.intensities) append(point.intensity, 2, bytes);
    if (cloud.classification) append(point.classIndex, 1, bytes);
    if (cloud.colors) {
      for (const std::uint16_t channel : point.rgb) append(channel, 2, bytes);
    }
    if (cloud.normals) {
      for (const double component : point.normal) append(std::bit_cast<std::uint64_t>(component), 8, bytes);
    }
  }
  return bytes;
}

struct Record {
  std::uint64_t type;  // 0 inner node, 1 leaf, 2 proxy
  std::uint64_t childMask;
  std::uint64_t numPoints;
  std::uint64_t byteOffset;
  std::uint64_t byteSize;
};

void append(const Record& record, std::string& bytes) {
  append(record.type, 1, bytes);
  append(record.childMask, 1, bytes);
  append(record.numPoints, 4, bytes);
  append(record.byteOffset, 8, bytes);
  append(record.byteSize, 8, bytes);
}

std::string hierarchy(const SmallCloud& cloud, std::uint64_t octreeSize) {
  std::string bytes;
  const std::uint64_t childMask = cloud.lostSubtree ? 1 : 0;
  append({childMask == 0 ? 1U : 0U, childMask, cloud.points.size(), 0, octreeSize}, bytes);
  if (cloud.lostSubtree) append({2, 0, 5, 4096, 22}, bytes);
  return bytes;
}

Json attribute(const char* name, const char* type, int numElements, int elementSize) {
  return {{"name", name},
          {"description", ""},
          {"size", numElements * elementSize},
          {"numElements", numElements},
          {"elementSize", elementSize},
          {"type", type}};
}

Json metaData(const SmallCloud& cloud, std::uint64_t hierarchySize) {
  Json attributes = Json::array({attribute("position", "int32", 3, 4)});
  if (cloud.intensities) attributes.push_back(attribute("intensity", "uint16", 1, 2));
  if (cloud.classification) attributes.push_back(attribute("classification", "uint8", 1, 1));
  if (cloud.colors) attributes.push_back(attribute("rgb", "uint16", 3, 2));
  if (cloud.normals) {
    for (const char* const name : {"NormalX", "NormalY", "NormalZ"}) {
      attributes.push_back(attribute(name, "double", 1, 8));
    }
  }
  const std::array<double, 3>& low = cloud.offset;
  return {{"version", "2.0"},
          {"points", cloud.points.size()},
          {"hierarchy", {{"firstChunkSize", hierarchySize}, {"stepSize", 4}, {"depth", 1}}},
          {"offset", low},
          {"scale", cloud.scale},
          {"spacing", kSpacing},
          {"boundingBox", {{"min", low}, {"max", {low[0] + kCube, low[1] + kCube, low[2] + kCube}}}},
          {"encoding", "DEFAULT"},
          {"attributes", attributes}};
}

void writeFile(const std::filesystem::path& path, const std::string& bytes) {
  std::ofstream file(path, std::ios::binary);
  file << bytes;
  if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
}

}  // namespace

void SmallCloud::write(const std::filesystem::path& folder) const {
  std::filesystem::create_directories(folder);
  const std::string pointBytes = octree(*this);
  const std::string records = hierarchy(*this, pointBytes.size());
  writeFile(folder / "octree.bin", pointBytes);
  writeFile(folder / "hierarchy.bin", records);
  writeFile(folder / "metadata.json", metaData(*this, records.size()).dump());
}

SmallCloud rowOfPoints(int count) {
  SmallCloud cloud;
  cloud.points.resize(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) cloud.points[static_cast<std::size_t>(i)].position[0] = i;
  return cloud;
}

}  // namespace Testing
