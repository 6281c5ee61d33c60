// Clouds with damaged files: opening refuses them or a walk goes through what is left. Whatever happens is a
// std::exception or an entry in the list of damage.
#include <gmock/gmock.h>

#include "core/Brotli.h"
#include "octree/MapLocation.h"
#include "octree/QueryPoints.h"

namespace {

using Files = std::map<std::string, std::string>;
using Octree::Algorithm::QueryPointsIterator;
using Testing::MapLocation;
using Testing::PotreeFiles;
using Testing::somePoints;

constexpr int kRounds = 1'500;
constexpr std::size_t kMostSteps = 20'000;

/// Three chunks, five nodes of 15 points.
PotreeFiles cloud(bool brotli) {
  PotreeFiles files;
  if (brotli) files.set("/encoding", "\"BROTLI\"");
  const auto node = [&](std::uint8_t childMask, std::uint32_t count, std::uint32_t first) {
    const std::vector<Testing::StoredPoint> points = somePoints(count, first);
    const std::string blocks = Testing::encodeBlocks(points, files.attributeNames());
    brotli ? files.node(childMask, count, Core::brotliEncode(std::as_bytes(std::span(blocks)), 5))
           : files.node(childMask, points);
  };
  node(0b10'0001, 1, 0);
  files.proxy(3, 2).proxy(5, 2).endFirstChunk();
  node(0b1, 2, 10);
  node(0, 4, 30);
  node(0b1000'0000, 3, 20);
  node(0, 5, 40);
  return files;
}

/// The next step that succeeds: one that throws stands on its node, and the next goes on behind it.
void step(QueryPointsIterator& walk) {
  for (;;) {
    try {
      ++walk;
      return;
    } catch (const std::runtime_error&) {
      continue;
    }
  }
}

/// Opens and walks. The number of points found.
std::size_t walked(const Files& files) {
  const auto octree = Testing::openOctree(std::make_shared<MapLocation>(files));
  QueryPointsIterator walk = Octree::allPoints(octree, std::make_shared<Octree::OctreeNodeCache>(4), 0, {});
  std::size_t points = 0;
  std::size_t steps = 0;
  for (; walk != QueryPointsIterator(); step(walk)) {
    if (++steps > kMostSteps) throw std::logic_error("the walk does not end");
    points += (*walk)->points().size();
  }
  return points;
}

/// The same for files that may refuse to open.
void tryToWalk(const Files& files, const std::string& what) {
  try {
    (void)walked(files);
  } catch (const std::runtime_error&) {
    return;  // refused
  } catch (const std::exception& error) {
    ADD_FAILURE() << what << ": " << error.what();
  }
}

class DamagedCloud : public testing::TestWithParam<bool> {};

TEST_P(DamagedCloud, IsWholeBeforeTheDamage) { EXPECT_EQ(walked(cloud(GetParam()).files()), 15U); }

TEST_P(DamagedCloud, SurvivesEveryTruncationOfItsFiles) {
  const Files whole = cloud(GetParam()).files();
  for (const char* name : {"hierarchy.bin", "octree.bin"}) {
    for (std::size_t n = 0; n < whole.at(name).size(); ++n) {
      Files files = whole;
      files[name].resize(n);
      tryToWalk(files, name + std::to_string(n));
    }
  }
}

TEST_P(DamagedCloud, SurvivesRandomBytesInItsFiles) {
  const Files whole = cloud(GetParam()).files();
  std::mt19937 random(2024);
  for (int round = 0; round < kRounds; ++round) {
    Files files = whole;
    for (int change = 0; change < 3; ++change) {
      std::string& bytes = files[random() % 3 == 0 ? "octree.bin" : "hierarchy.bin"];
      bytes[random() % bytes.size()] = static_cast<char>(random());
    }
    tryToWalk(files, "round " + std::to_string(round));
  }
}

TEST_P(DamagedCloud, SurvivesRandomTextInItsMetadata) {
  const Files whole = cloud(GetParam()).files();
  const std::string letters = "0123456789.-e\"[]{},:ntf \\";
  std::mt19937 random(77);
  for (int round = 0; round < kRounds; ++round) {
    Files files = whole;
    std::string& text = files["metadata.json"];
    for (int change = 0; change < 2; ++change)
      text[random() % text.size()] = letters[random() % letters.size()];
    tryToWalk(files, "round " + std::to_string(round));
  }
}

TEST_P(DamagedCloud, SurvivesSwappedRecords) {
  const Files whole = cloud(GetParam()).files();
  constexpr std::size_t kSize = Testing::HierarchyRecord::kSize;
  for (std::size_t a = 0; a < 7; ++a) {
    for (std::size_t b = 0; b < 7; ++b) {
      Files files = whole;
      files["hierarchy.bin"].replace(a * kSize, kSize, whole.at("hierarchy.bin"), b * kSize, kSize);
      tryToWalk(files, std::to_string(a) + " by " + std::to_string(b));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Encodings, DamagedCloud, testing::Bool(),
                         [](const auto& encoding) { return encoding.param ? "Brotli" : "Default"; });

}  // namespace
