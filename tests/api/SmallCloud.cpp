#include "api/SmallCloud.h"

#include <random>

namespace Testing {
namespace {

constexpr std::uint32_t kCubeSteps = 128;  // the cube's side of 64 in steps of 0.5

/// The next node of a cloud, its intensities by its place in the file.
void addNode(PotreeFiles& files, std::uint8_t childMask, std::string_view node, unsigned place) {
  files.node(childMask, pointsIn(node, static_cast<std::uint16_t>(100 * place)));
}

}  // namespace

std::vector<StoredPoint> pointsIn(std::string_view node, std::uint16_t firstIntensity) {
  std::array<std::uint32_t, 3> corner{};
  std::uint32_t side = kCubeSteps;
  for (const char digit : node) {
    side /= 2;
    const auto index = static_cast<unsigned>(digit - '0');
    for (unsigned axis = 0; axis < 3; ++axis) corner[axis] += (index >> (2 - axis) & 1U) * side;
  }
  // A seed that puts points where the tests look for some.
  std::mt19937_64 random(firstIntensity + 3U);
  std::vector<StoredPoint> points(kPointsPerNode);
  for (StoredPoint& point : points) {
    for (unsigned axis = 0; axis < 3; ++axis) {
      point.position[axis] = corner[axis] + static_cast<std::uint32_t>(random() % side);
    }
    for (std::uint16_t& component : point.rgb) component = static_cast<std::uint16_t>(random() % 256);
    point.classification = static_cast<std::uint8_t>(random() % 20);
    point.intensity = firstIntensity++;
  }
  return points;
}

PotreeFiles elevenNodes() {
  PotreeFiles files;
  unsigned place = 0;
  addNode(files, 0xFF, "", place++);
  addNode(files, 0b1000'0001, "0", place++);
  for (const char* node : {"1", "2", "3", "4", "5", "6", "7", "00", "07"}) addNode(files, 0, node, place++);
  return files;
}

PotreeFiles threeChunks(std::uint64_t chunkOf0) {
  PotreeFiles files;
  addNode(files, 0b1000'0001, "", 0);
  files.proxy(chunkOf0, 2).proxy(5, 2).endFirstChunk();
  addNode(files, 0b1, "0", 1);
  addNode(files, 0, "00", 3);
  addNode(files, 0b1000'0000, "7", 2);
  addNode(files, 0, "77", 4);
  return files;
}

Sorvik::FileSystemLocation CloudFolder::location() const {
  return Sorvik::FileSystemLocation(path().wstring());
}

}  // namespace Testing
