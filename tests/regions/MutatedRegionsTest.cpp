// Texts of regions with bytes changed, taken out and put in: refused by an exception, or a region that is
// written and read back.
#include <gtest/gtest.h>

#include <cmath>
#include <exception>
#include <random>
#include <string_view>

#include "regions/RandomRegions.h"
#include "regions/RegionJson.h"

namespace {

std::string mutated(std::mt19937& random, std::string text) {
  constexpr std::string_view kBytes = "{}[]\":,0123456789.-+eEtfnu\\ \xC3\xFF";
  for (std::size_t changes = 1 + random() % 4; changes > 0 && !text.empty(); --changes) {
    const std::size_t at = random() % text.size();
    switch (random() % 4) {
      case 0:
        text[at] = kBytes[random() % kBytes.size()];
        break;
      case 1:
        text.erase(at, 1 + random() % 8);
        break;
      case 2:
        text.insert(at, 1, kBytes[random() % kBytes.size()]);
        break;
      default:
        text.insert(at, text.substr(random() % text.size(), random() % 40));
    }
  }
  return text;
}

TEST(MutatedRegions, AreRefusedOrReadBackAsTheyAreWritten) {
  constexpr unsigned kSeed = 39;
  std::mt19937 random(kSeed);
  Testing::RandomRegions regions(kSeed, {0, 10, 0});
  int accepted = 0;
  for (int n = 0; n < 6000; ++n) {
    const std::string text = mutated(random, Math::regionText(regions.tree(n % 3).get()));
    try {
      const auto region = Math::parseRegion(text);
      ++accepted;
      (void)region->pointInside({{1, 2, 3}});
      (void)region->boxIntersects({{{0, 0, 0}}, {{1, 1, 1}}});
      const std::string written = Math::regionText(region.get());
      ASSERT_EQ(Math::regionText(Math::parseRegion(written).get()), written) << text;
    } catch (const std::exception&) {
      continue;
    }
  }
  EXPECT_GT(accepted, 200) << "seed " << kSeed;
}

}  // namespace
