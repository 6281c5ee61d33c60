#include <gmock/gmock.h>

#include "brotli/HardColumns.h"

namespace {

using Testing::Columns;

class HardColumns : public testing::TestWithParam<Testing::HardColumns> {};

TEST_P(HardColumns, ComeBackFromAnotherDecoder) {
  const Columns columns = GetParam().make();
  EXPECT_TRUE(Testing::decoded(Testing::encoded(columns), columns.data.size()) == columns.data);
}

TEST_P(HardColumns, CostAtMostTheirSizeAndOneInAThousand) {
  const Columns columns = GetParam().make();
  EXPECT_LE(Testing::encoded(columns).size(), columns.data.size() + columns.data.size() / 1000 + 8);
}

INSTANTIATE_TEST_SUITE_P(All, HardColumns, testing::ValuesIn(Testing::hardColumns()),
                         [](const auto& columns) { return columns.param.name; });

class Stride : public testing::TestWithParam<std::size_t> {};

TEST_P(Stride, ComesBackFromAnotherDecoder) {
  const Columns columns = Testing::columnOfStride(GetParam());
  EXPECT_TRUE(Testing::decoded(Testing::encoded(columns), columns.data.size()) == columns.data);
}

INSTANTIATE_TEST_SUITE_P(All, Stride, testing::Range(std::size_t{1}, Testing::kWidestTried + 1));

}  // namespace
