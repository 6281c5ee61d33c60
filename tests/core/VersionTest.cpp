#include <gtest/gtest.h>

#include "core/Version.h"
#include "support/SampleData.h"

namespace {

using Core::Version;

TEST(Version, IsWrittenAsThreeNumbersWithDots) {
  EXPECT_EQ((Version{1, 20, 300}).string(), "1.20.300");
  EXPECT_EQ(Version().string(), "0.0.0");
}

TEST(Version, OfTheLibraryIsThatOfTheSourceTree) {
  std::string stated = Testing::readFile(SORVIK_VERSION_FILE);
  while (!stated.empty() && stated.back() == '\n') stated.pop_back();
  EXPECT_EQ(Core::libVersion().string(), stated);
}

TEST(Version, ComparesAllItsNumbers) {
  EXPECT_EQ((Version{1, 2, 3}), (Version{1, 2, 3}));
  EXPECT_NE((Version{1, 2, 3}), (Version{1, 2, 4}));
  EXPECT_NE((Version{1, 2, 3}), (Version{1, 3, 3}));
  EXPECT_NE((Version{1, 2, 3}), (Version{2, 2, 3}));
}

}  // namespace
