// Octrees of the common writer against the totals that an independent reader found in them.
#include <gmock/gmock.h>

#include <cmath>
#include <nlohmann/json.hpp>
#include <set>

#include "core/Brotli.h"
#include "octree/MapLocation.h"
#include "octree/QueryPoints.h"
#include "support/SampleData.h"

namespace {

using nlohmann::json;
using Octree::Algorithm::QueryPointsIterator;
using Testing::MapLocation;

using Sums = std::array<std::uint64_t, 3>;

/// What walks add up.
struct Totals {
  std::uint64_t points = 0;
  std::uint64_t intensities = 0;
  Sums colors{};
  std::map<std::string, std::uint64_t> classes;
  std::array<double, 3> minimum{HUGE_VAL, HUGE_VAL, HUGE_VAL};  // world coordinates
  std::array<double, 3> maximum{-HUGE_VAL, -HUGE_VAL, -HUGE_VAL};
  std::array<long double, 3> sums{};
};

/// Stored colours, added up as they are and as the eight bits that a reader makes of them.
struct ColorSums {
  Sums stored{};
  Sums eightBit{};
};

std::shared_ptr<MapLocation> inMemory(const std::filesystem::path& folder) {
  std::map<std::string, std::string> files;
  for (const char* name : {"metadata.json", "hierarchy.bin", "octree.bin"}) {
    if (std::filesystem::exists(folder / name)) files[name] = Testing::readFile(folder / name);
  }
  return std::make_shared<MapLocation>(files);
}

void add(Totals& totals, const Octree::Octree& octree, const Math::NodePoints& points) {
  totals.points += points.size();
  for (std::size_t i = 0; i < points.size(); ++i) {
    totals.intensities += points.intensities()[i];
    const Math::Color color = points.colors()[i];
    totals.colors[0] += color.r();
    totals.colors[1] += color.g();
    totals.colors[2] += color.b();
    ++totals.classes[std::to_string(points.classIndices()[i])];
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const double world =
          double{points.positions()[3 * i + axis]} + octree.position()[static_cast<int>(axis)];
      totals.minimum[axis] = std::min(totals.minimum[axis], world);
      totals.maximum[axis] = std::max(totals.maximum[axis], world);
      totals.sums[axis] += world;
    }
  }
}

std::size_t outside(const Math::NBoundingBox<float, 3>& box, const Math::NodePoints& points) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < points.size(); ++i) {
    const float* const p = points.positions().data() + 3 * i;
    if (!box.inside({{p[0], p[1], p[2]}})) ++count;
  }
  return count;
}

Totals totalsOf(const std::shared_ptr<Octree::Octree>& octree) {
  Totals totals;
  QueryPointsIterator walk = Octree::allPoints(octree, nullptr, 0, {});
  for (; walk != QueryPointsIterator(); ++walk) add(totals, *octree, (*walk)->points());
  return totals;
}

/// Half the distance of neighbouring single-precision numbers as large as the cloud's coordinates.
double halfFloatStep(const Octree::Octree& octree) {
  float largest = 0;
  for (int axis = 0; axis < 3; ++axis) {
    largest = std::max({largest, std::abs(octree.boundingCube({}).minimum[axis]),
                        std::abs(octree.boundingCube({}).maximum[axis])});
  }
  return 0.5 * (std::nextafter(largest, INFINITY) - largest);
}

/// The position of the colours in the stored form, by the metadata's own list.
struct ColorPlace {
  std::size_t before = 0;  ///< bytes a point of the attributes before
  std::size_t stride = 0;  ///< bytes a point of all attributes
};

ColorPlace colorPlace(const json& metaData, bool brotli) {
  ColorPlace place;
  for (const json& attribute : metaData["attributes"]) {
    if (attribute["name"] == "rgb") place.before = place.stride;
    place.stride += brotli && attribute["name"] == "position" ? 16
                    : brotli && attribute["name"] == "rgb"    ? 8
                                                              : attribute["size"].get<std::size_t>();
  }
  return place;
}

/// Adds one node's colours, read from its bytes.
void addColors(ColorSums& sums, const std::string& data, const ColorPlace& place, bool brotli) {
  const std::size_t count = data.size() / place.stride;
  for (std::size_t i = 0; i < count; ++i) {
    std::array<std::uint16_t, 3> rgb{};
    if (brotli) {
      std::uint64_t code = 0;
      std::memcpy(&code, data.data() + place.before * count + 8 * i, 8);
      for (unsigned bit = 0; bit < 48; ++bit) {
        rgb[bit % 3] = static_cast<std::uint16_t>(rgb[bit % 3] | (code >> bit & 1) << (bit / 3));
      }
    } else {
      std::memcpy(rgb.data(), data.data() + place.stride * i + place.before, 6);
    }
    for (std::size_t k = 0; k < 3; ++k) {
      sums.stored[k] += rgb[k];
      sums.eightBit[k] += rgb[k] > 255 ? rgb[k] / 256U : rgb[k];
    }
  }
}

/// The colours of all nodes that the hierarchy file has records of, each once: the common writer leaves
/// records behind that no mask reaches, but they name the data of nodes that are reached.
ColorSums storedColors(const std::filesystem::path& folder) {
  const json metaData = json::parse(Testing::readFile(folder / "metadata.json"));
  const std::string hierarchy = Testing::readFile(folder / "hierarchy.bin");
  const std::string octree = Testing::readFile(folder / "octree.bin");
  const bool brotli = metaData["encoding"] == "BROTLI";
  const ColorPlace place = colorPlace(metaData, brotli);
  ColorSums sums;
  std::set<std::uint64_t> seen;
  for (std::size_t at = 0; at + 22 <= hierarchy.size(); at += 22) {
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
    std::memcpy(&offset, hierarchy.data() + at + 6, 8);
    std::memcpy(&size, hierarchy.data() + at + 14, 8);
    if ((hierarchy[at] & 15) == 2 || size == 0 || !seen.insert(offset).second) continue;
    const std::string bytes = octree.substr(offset, size);
    Core::ByteBuffer out;
    if (brotli) Core::brotliDecode(std::as_bytes(std::span(bytes)), std::size_t{1} << 30, out);
    addColors(sums, brotli ? std::string(reinterpret_cast<const char*>(out.data.get()), out.size) : bytes,
              place, brotli);
  }
  return sums;
}

/// What a truth file says, in one form for both kinds of file.
struct Truth {
  json points, intensities, classes, colors, minimum, maximum;
  std::array<double, 3> sums{};
};

Truth truthOf(const std::filesystem::path& folder) {
  if (std::filesystem::exists(folder / "truth.json")) {
    const json octree = json::parse(Testing::readFile(folder / "truth.json"))["octree"];
    return {octree["numPoints"], octree["sumIntensity"], octree["classHistogram"], octree["sumRgb"],
            octree["storedMin"], octree["storedMax"],    octree["sumXYZ"]};
  }
  const json flat = json::parse(Testing::readFile(folder.string() + ".truth.json"));
  Truth truth{flat["decoded_points"],
              flat["sum_intensity"],
              flat["class_histogram"],
              flat["sum_rgb"],
              flat["min"],
              flat["max"],
              flat["mean"]};
  for (double& sum : truth.sums) sum *= truth.points.get<double>();
  return truth;
}

/// Names of parameterised tests hold no hyphens.
std::string nameOfTest(const testing::TestParamInfo<const char*>& file) {
  std::string name = file.param;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

class RealCloud : public testing::TestWithParam<const char*> {};

TEST_P(RealCloud, HoldsThePointsOfItsTruthFile) {
  SORVIK_SAMPLE_OR_SKIP(folder, std::string("potree/") + GetParam());
  const Truth truth = truthOf(folder);
  const auto octree = Testing::openOctree(inMemory(folder));
  const Totals totals = totalsOf(octree);
  EXPECT_EQ(json(totals.points), truth.points);
  EXPECT_EQ(json(totals.intensities), truth.intensities);
  EXPECT_EQ(json(totals.classes), truth.classes);
  const double half = halfFloatStep(*octree);
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const double rounding = 1e-15 * std::abs(truth.maximum[axis].get<double>());  // of the world coordinates
    EXPECT_NEAR(totals.minimum[axis], truth.minimum[axis].get<double>(), half + rounding);
    EXPECT_NEAR(totals.maximum[axis], truth.maximum[axis].get<double>(), half + rounding);
    EXPECT_NEAR(static_cast<double>(totals.sums[axis]), truth.sums[axis],
                half * static_cast<double>(totals.points));
  }
  EXPECT_TRUE(octree->unreadableNodes().empty());
}

TEST_P(RealCloud, GivesItsStoredColoursInEightBits) {
  SORVIK_SAMPLE_OR_SKIP(folder, std::string("potree/") + GetParam());
  const ColorSums stored = storedColors(folder);
  EXPECT_EQ(json(stored.stored), truthOf(folder).colors);
  EXPECT_EQ(totalsOf(Testing::openOctree(inMemory(folder))).colors, stored.eightBit);
}

TEST_P(RealCloud, HasAllPointsInsideTheirNodesBounds) {
  SORVIK_SAMPLE_OR_SKIP(folder, std::string("potree/") + GetParam());
  const auto octree = Testing::openOctree(inMemory(folder));
  std::function<void(const Octree::OctreeNodeId&)> visit = [&](const Octree::OctreeNodeId& id) {
    Math::NodePoints points;
    ASSERT_TRUE(octree->loadNodePoints(id, points, {}));
    for (Octree::OctreeNodeId box = id;; box = box.parent()) {
      ASSERT_EQ(outside(octree->pointBounds(box), points), 0U) << id.name() << " in " << box.name();
      if (box.isRoot()) break;
    }
    for (const Octree::OctreeNodeId child : octree->children(id, {})) visit(child);
  };
  visit({});
}

INSTANTIATE_TEST_SUITE_P(Files, RealCloud,
                         testing::Values("autzen-trim-default", "autzen-trim-brotli", "deep-a-default",
                                         "deep-a-brotli", "andelskahora", "start_cloud"),
                         nameOfTest);

/// What a hierarchy says.
struct HierarchyTotals {
  std::uint64_t nodes = 0;
  std::uint64_t points = 0;
  std::uint64_t emptyNodes = 0;
  std::uint64_t leaves = 0;
  std::map<std::uint64_t, std::pair<std::uint64_t, std::uint64_t>> levels;  // nodes and points
};

HierarchyTotals hierarchyOf(PoTree::PotreeTree& tree) {
  HierarchyTotals totals;
  std::vector<Octree::OctreeNodeId> pending(1);
  while (!pending.empty()) {
    const std::shared_ptr<PoTree::Node> node = tree.nodeById(pending.back(), {});
    pending.pop_back();
    ++totals.nodes;
    totals.points += node->numPoints;
    totals.emptyNodes += node->numPoints == 0;
    totals.leaves += node->is(PoTree::NodeType::Leaf);
    auto& [nodes, points] = totals.levels[node->id.level()];
    ++nodes;
    points += node->numPoints;
    for (std::uint8_t i = 0; i < 8; ++i) {
      if (node->children[i]) pending.push_back(node->id.child(i));
    }
  }
  return totals;
}

PoTree::PotreeTree treeOf(const std::shared_ptr<MapLocation>& location) {
  const std::string document = location->fetchMetaData({}).get();
  return {location,
          Core::readyFuture(PoTree::parseMetaData(document, "m", PoTree::MetaDataUse::Main)).share(), 1};
}

std::size_t chunksRead(const MapLocation& location) {
  std::set<std::uint64_t> offsets;
  for (const MapLocation::Request& request : location.requests()) {
    if (request.name == "hierarchy.bin") offsets.insert(request.byteOffset);
  }
  return offsets.size();
}

class RealHierarchy : public testing::TestWithParam<const char*> {};

TEST_P(RealHierarchy, HasTheNodesOfItsTruthFile) {
  SORVIK_SAMPLE_OR_SKIP(folder, std::string("potree/") + GetParam());
  const auto location = inMemory(folder);
  PoTree::PotreeTree tree = treeOf(location);
  const HierarchyTotals totals = hierarchyOf(tree);
  const json truth = json::parse(Testing::readFile(folder / "truth.json"))["octree"];
  EXPECT_EQ(json(totals.nodes), truth["nodes"]);
  EXPECT_EQ(json(totals.emptyNodes), truth["emptyNodes"]);
  EXPECT_EQ(json(totals.levels.rbegin()->first), truth["depth"]);
  EXPECT_EQ(json(chunksRead(*location)), truth["hierarchyChunks"]);
  for (const auto& [level, counts] : totals.levels) {
    const json& expected = truth["levels"][std::to_string(level)];
    EXPECT_EQ(json(counts.first), expected["nodes"]) << level;
    EXPECT_EQ(json(counts.second), expected["points"]) << level;
  }
  EXPECT_EQ(totals.levels.size(), truth["levels"].size());
}

INSTANTIATE_TEST_SUITE_P(Files, RealHierarchy,
                         testing::Values("autzen-trim-default", "autzen-trim-brotli", "deep-a-default",
                                         "deep-a-brotli"),
                         nameOfTest);

class HierarchyOnly : public testing::TestWithParam<const char*> {};

TEST_P(HierarchyOnly, HasTheNodesOfItsTruthFile) {
  SORVIK_SAMPLE_OR_SKIP(folder, std::string("potree/") + GetParam());
  const auto location = inMemory(folder);
  PoTree::PotreeTree tree = treeOf(location);
  const HierarchyTotals totals = hierarchyOf(tree);
  const json truth = json::parse(Testing::readFile(folder.string() + ".truth.json"));
  EXPECT_EQ(json(totals.nodes), truth["nodes"]);
  EXPECT_EQ(json(totals.points), truth["hierarchy_points"]);
  EXPECT_EQ(json(totals.emptyNodes), truth["empty_nodes"]);
  EXPECT_EQ(json(totals.levels.rbegin()->first), truth["max_level"]);
  EXPECT_EQ(json(chunksRead(*location)), truth["chunks"]);
}

TEST_P(HierarchyOnly, IsWalkedInSpiteOfItsMissingPoints) {
  SORVIK_SAMPLE_OR_SKIP(folder, std::string("potree/") + GetParam());
  const json truth = json::parse(Testing::readFile(folder.string() + ".truth.json"));
  const auto octree = Testing::openOctree(inMemory(folder));
  std::uint64_t nodes = 0;
  QueryPointsIterator walk = Octree::allPoints(octree, nullptr, 0, {});
  for (; walk != QueryPointsIterator(); ++walk, ++nodes) ASSERT_EQ((*walk)->points().size(), 0U);
  EXPECT_EQ(json(nodes), truth["nodes"]);
  const auto stored = truth["nodes"].get<std::size_t>() - truth["empty_nodes"].get<std::size_t>();
  EXPECT_EQ(octree->unreadableNodes().size(), std::min<std::size_t>(stored, 1000));
}

INSTANTIATE_TEST_SUITE_P(Files, HierarchyOnly,
                         testing::Values("hierarchy-only-pump", "hierarchy-only-cube1030301",
                                         "hierarchy-only-lion-BROTLI"),
                         nameOfTest);

}  // namespace
