#include <gmock/gmock.h>

#include <cmath>

#include "converter/AttributeStatistics.h"
#include "support/ListScan.h"

namespace {

using Converter::AttributeFacts;
using Converter::AttributeStatistics;
using Converter::CloudRecords;
using testing::Each;
using testing::ElementsAre;
using Testing::scanAttribute;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// Records that hold one attribute alone.
CloudRecords recordsOf(const Math::Attribute& attribute) {
  CloudRecords records;
  records.attributes = {attribute};
  records.offsets = {0};
  records.stride = attribute.size();
  return records;
}

/// @param values  the attribute's numElements for each point.
template <class T>
AttributeFacts factsOf(const std::string& name, const std::vector<T>& values, std::uint32_t numElements = 1) {
  const CloudRecords records = recordsOf(scanAttribute<T>(name, numElements));
  AttributeStatistics statistics(records);
  statistics.add(
      {reinterpret_cast<const std::byte*>(values.data()), records.stride, values.size() / numElements});
  return statistics.facts()[0];
}

TEST(AttributeStatistics, HoldTheRangeOfEachElement) {
  const AttributeFacts facts = factsOf<std::uint16_t>("rgb", {5, 0, 65535, 7, 1, 3}, 3);
  EXPECT_THAT(facts.min, ElementsAre(5, 0, 3));
  EXPECT_THAT(facts.max, ElementsAre(7, 1, 65535));
}

TEST(AttributeStatistics, KnowAllTypes) {
  EXPECT_THAT(factsOf<std::int8_t>("a", {-128, 127}).min, ElementsAre(-128));
  EXPECT_THAT(factsOf<std::int16_t>("a", {-32768, 1}).min, ElementsAre(-32768));
  EXPECT_THAT(factsOf<std::int32_t>("a", {INT32_MIN, 1}).min, ElementsAre(INT32_MIN));
  EXPECT_THAT(factsOf<std::int64_t>("a", {-5, 1}).min, ElementsAre(-5));
  EXPECT_THAT(factsOf<std::uint8_t>("a", {255, 1}).max, ElementsAre(255));
  EXPECT_THAT(factsOf<std::uint32_t>("a", {UINT32_MAX, 1}).max, ElementsAre(UINT32_MAX));
  EXPECT_THAT(factsOf<std::uint64_t>("a", {6, 1}).max, ElementsAre(6));
  EXPECT_THAT(factsOf<float>("a", {-0.5F, 0.25F}).max, ElementsAre(0.25));
  EXPECT_THAT(factsOf<double>("a", {-1e300, 1e300}).min, ElementsAre(-1e300));
}

TEST(AttributeStatistics, PassOverWhatIsNoNumber) {
  EXPECT_THAT(factsOf<double>("gps-time", {NAN, 3, NAN, -2, NAN}).min, ElementsAre(-2));
  const AttributeFacts none = factsOf<float>("x", {NAN, NAN});
  EXPECT_THAT(none.min, ElementsAre(kInfinity));
  EXPECT_THAT(none.max, ElementsAre(-kInfinity));
}

TEST(AttributeStatistics, CountClassesOfOneByteAlone) {
  const AttributeFacts facts = factsOf<std::uint8_t>("classification", {2, 255, 2, 0});
  ASSERT_EQ(facts.histogram.size(), 256);
  EXPECT_EQ(facts.histogram[2], 2);
  EXPECT_EQ(facts.histogram[255], 1);
  EXPECT_TRUE(factsOf<std::uint16_t>("classification", {2}).histogram.empty());
  EXPECT_TRUE(factsOf<std::uint8_t>("user data", {2}).histogram.empty());
}

TEST(AttributeStatistics, KnowWhether64BitIntegersAreExactAsDouble) {
  constexpr std::int64_t kExact = std::int64_t{1} << 53U;
  EXPECT_TRUE(factsOf<std::int64_t>("id", {kExact, -kExact, INT64_MIN, kExact + 2}).exactAsDouble);
  EXPECT_FALSE(factsOf<std::int64_t>("id", {0, kExact + 1, 0}).exactAsDouble);
  EXPECT_FALSE(factsOf<std::int64_t>("id", {INT64_MAX}).exactAsDouble);
  EXPECT_FALSE(factsOf<std::uint64_t>("id", {UINT64_MAX}).exactAsDouble);
  EXPECT_TRUE(factsOf<std::uint64_t>("id", {std::uint64_t{1} << 63U}).exactAsDouble);
}

TEST(AttributeStatistics, AddUpToThoseOfAllPoints) {
  const CloudRecords records = recordsOf(scanAttribute<std::uint8_t>("classification"));
  const std::vector<std::uint8_t> values{9, 4, 4, 7};
  const auto* const data = reinterpret_cast<const std::byte*>(values.data());
  AttributeStatistics whole(records);
  whole.add({data, 1, 4});
  AttributeStatistics sum(records);
  AttributeStatistics rest(records);
  sum.add({data, 1, 1});
  rest.add({data + 1, 1, 3});
  sum.add(rest);
  sum.add(AttributeStatistics(records));
  EXPECT_EQ(sum.facts()[0].min, whole.facts()[0].min);
  EXPECT_EQ(sum.facts()[0].max, whole.facts()[0].max);
  EXPECT_EQ(sum.facts()[0].histogram, whole.facts()[0].histogram);
}

TEST(AttributeStatistics, DuplicatesLeaveTheHistogram) {
  const CloudRecords records = recordsOf(scanAttribute<std::uint8_t>("classification"));
  const std::vector<std::uint8_t> values{4, 4, 7};
  AttributeStatistics all(records);
  all.add({reinterpret_cast<const std::byte*>(values.data()), 1, 3});
  AttributeStatistics duplicates(records);
  duplicates.add({reinterpret_cast<const std::byte*>(values.data()), 1, 1});
  all.removeDuplicates(duplicates);
  EXPECT_EQ(all.facts()[0].histogram[4], 1);
  EXPECT_EQ(all.facts()[0].histogram[7], 1);
}

TEST(AttributeStatistics, OfNoPointsAreEmpty) {
  const AttributeFacts facts = factsOf<std::uint8_t>("classification", {});
  EXPECT_THAT(facts.min, ElementsAre(kInfinity));
  EXPECT_THAT(facts.histogram, Each(0));
}

}  // namespace
