#include <gmock/gmock.h>

#include "brotli/ColumnParser.h"
#include "brotli/TestColumns.h"
#include "sample/RandomBits.h"

namespace {

using Brotli::ColumnParser;
using Brotli::ColumnPlan;
using Brotli::ColumnRange;
using Brotli::Command;
using Testing::Bytes;

ColumnPlan planOf(const Bytes& data, const ColumnRange& column,
                  const std::vector<std::uint32_t>& lookupLanes) {
  return {Brotli::LaneCosts(data, column).atLeast(2 * Brotli::kBitCost), true, lookupLanes};
}

/// Carries out commands as a decoder does, from the data before the column; copies must stay inside the
/// column.
Bytes replayed(const Bytes& data, const ColumnRange& column, const std::vector<Command>& commands,
               std::uint32_t literalsBehind) {
  Bytes out(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(column.begin));
  const auto insert = [&](std::size_t count) {
    for (; count > 0; --count) out.push_back(data.at(out.size()));
  };
  for (const Command& command : commands) {
    insert(command.insert);
    EXPECT_GE(command.copy, 2U);
    EXPECT_GE(command.distance, 1U);
    EXPECT_LE(command.distance, std::min(out.size() - column.begin, ColumnParser::kFarthest));
    for (std::uint32_t i = 0; i < command.copy; ++i) out.push_back(out.at(out.size() - command.distance));
  }
  insert(literalsBehind);
  return out;
}

/// Parses a column in pieces of @p piece bytes.
std::vector<Command> parsed(const Bytes& data, const ColumnRange& column, const ColumnPlan& plan,
                            std::size_t piece, std::uint32_t& carried) {
  ColumnParser parser;
  std::vector<Command> commands;
  parser.begin(data, column, plan);
  for (std::size_t end = column.begin; end < column.end;) {
    end = std::min(end + piece, column.end);
    parser.parse(end, carried, commands);
  }
  return commands;
}

void expectReplay(const Bytes& column, std::size_t stride, const std::vector<std::uint32_t>& lookupLanes,
                  std::size_t piece) {
  // Bytes of another column stand before.
  Bytes data = Testing::randomBytes(100, 7);
  data.insert(data.end(), column.begin(), column.end());
  const ColumnRange range{100, data.size(), stride};
  std::uint32_t carried = 0;
  const std::vector<Command> commands = parsed(data, range, planOf(data, range, lookupLanes), piece, carried);
  EXPECT_TRUE(replayed(data, range, commands, carried) == data)
      << "stride " << stride << ", pieces of " << piece << ", " << lookupLanes.size() << " lookups";
}

TEST(ColumnParser, CommandsOfRepetitionsGiveTheColumn) {
  for (std::size_t stride = 1; stride <= 40; ++stride) {
    for (const std::size_t piece :
         {std::size_t{1'000'000}, std::size_t{1009}, std::size_t{13}, std::size_t{1}}) {
      expectReplay(Testing::variedColumn(300, stride), stride, {}, piece);
    }
  }
}

TEST(ColumnParser, CommandsOfLookupsGiveTheColumn) {
  for (std::uint32_t stride = 1; stride <= 40; ++stride) {
    for (const std::size_t piece :
         {std::size_t{1'000'000}, std::size_t{1009}, std::size_t{13}, std::size_t{1}}) {
      expectReplay(Testing::variedColumn(300, stride), stride, {0}, piece);
      expectReplay(Testing::variedColumn(300, stride), stride, {stride / 2}, piece);
      if (stride > 3)
        expectReplay(Testing::variedColumn(300, stride), stride, {0, 1, stride / 2, stride - 1}, piece);
    }
  }
}

TEST(ColumnParser, PiecesOfTheFirstElementCopyNothingFromBeforeTheColumn) {
  const Bytes data(6000, std::byte{8});
  const ColumnRange range{2000, 6000, 1000};
  for (const auto& lookups : {std::vector<std::uint32_t>{}, std::vector<std::uint32_t>{0}}) {
    std::uint32_t carried = 0;
    const auto commands = parsed(data, range, planOf(data, range, lookups), 300, carried);
    EXPECT_TRUE(replayed(data, range, commands, carried) == data);
    EXPECT_EQ(commands.at(0).insert, 1000U);
  }
}

TEST(ColumnParser, ColumnsShorterThanAWordGiveTheColumn) {
  for (std::size_t size = 1; size < 20; ++size) {
    expectReplay(Bytes(size, std::byte{4}), 1, {}, 100);
    expectReplay(Bytes(size, std::byte{4}), 1, {0}, 100);
  }
}

TEST(ColumnParser, FirstColumnsGiveTheColumn) {
  const Bytes data = Testing::variedColumn(500, 8);
  for (const auto& lookups : {std::vector<std::uint32_t>{}, std::vector<std::uint32_t>{0, 3}}) {
    std::uint32_t carried = 0;
    const ColumnRange range{0, data.size(), 8};
    const auto commands = parsed(data, range, planOf(data, range, lookups), data.size(), carried);
    EXPECT_TRUE(replayed(data, range, commands, carried) == data);
  }
}

TEST(ColumnParser, EqualElementsAreOneCopyOfTheFirst) {
  const Bytes element = Testing::randomBytes(8);
  Bytes data = element;
  for (int i = 0; i < 9; ++i) data.insert(data.end(), element.begin(), element.end());
  const ColumnRange range{0, 80, 8};
  ColumnPlan plan = planOf(Testing::randomBytes(80), range, {});
  std::uint32_t carried = 0;
  const auto commands = parsed(data, range, plan, 80, carried);
  ASSERT_EQ(commands.size(), 1U);
  EXPECT_EQ(commands[0].insert, 8U);
  EXPECT_EQ(commands[0].copy, 72U);
  EXPECT_EQ(commands[0].distance, 8U);
  EXPECT_EQ(carried, 0U);
}

TEST(ColumnParser, ChangedLowBytesStandBeforeACopyOfTheRest) {
  const Bytes data = Testing::columnOf(50, [](std::size_t i) { return 0x0123'4567'89AB'0000 + i * 0x0101; });
  const ColumnRange range{0, data.size(), 8};
  std::uint32_t carried = 0;
  const auto commands =
      parsed(data, range, planOf(Testing::randomBytes(400), range, {}), data.size(), carried);
  ASSERT_EQ(commands.size(), 49U);
  for (std::size_t i = 1; i < commands.size(); ++i) {
    EXPECT_EQ(commands[i].insert, 2U);
    EXPECT_EQ(commands[i].copy, 6U);
  }
}

TEST(ColumnParser, AValueOfBeforeIsCopiedFromWhereItStoodLast) {
  const Bytes data = Testing::columnOf(1000, [](std::size_t i) { return Sample::mixBits(i % 100); });
  const ColumnRange range{0, data.size(), 8};
  std::uint32_t carried = 0;
  const auto commands = parsed(data, range, planOf(data, range, {0}), data.size(), carried);
  ASSERT_FALSE(commands.empty());
  for (const Command& command : commands) EXPECT_EQ(command.distance, 800U);
  EXPECT_EQ(commands[0].insert, 800U);
}

TEST(ColumnParser, NothingIsCopiedWhereThePlanSaysSo) {
  const Bytes data(100, std::byte{1});
  ColumnPlan plan;
  plan.copies = false;
  std::uint32_t carried = 5;
  EXPECT_TRUE(parsed(data, {0, 100, 4}, plan, 33, carried).empty());
  EXPECT_EQ(carried, 105U);
}

TEST(ColumnParser, LiteralsBeforeTheColumnStandInItsFirstCommand) {
  const Bytes data(100, std::byte{1});
  std::uint32_t carried = 30;
  const ColumnRange range{0, 100, 4};
  const auto commands = parsed(data, range, planOf(Testing::randomBytes(100), range, {}), 100, carried);
  ASSERT_EQ(commands.size(), 1U);
  EXPECT_EQ(commands[0].insert, 34U);
}

}  // namespace
