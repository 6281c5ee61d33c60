#include <gmock/gmock.h>

#include "brotli/ContextMap.h"
#include "brotli/StreamReader.h"
#include "sample/RandomBits.h"

namespace {

using Map = std::vector<std::uint8_t>;

/// Writes the map, checks the bound, and reads it.
Map writtenAndRead(const Map& map, std::size_t numCodes) {
  Brotli::BitWriter out;
  out.reserve(Brotli::mostContextMapBits(map.size(), numCodes));
  Brotli::writeContextMap(map, numCodes, out);
  EXPECT_LE(out.numBits(), Brotli::mostContextMapBits(map.size(), numCodes));
  out.reserve(8);
  out.alignToByte();
  Testing::BitReader bits(out.bytes());
  const auto [readCodes, read] = Testing::takeContextMap(bits, map.size());
  EXPECT_EQ(readCodes, numCodes);
  EXPECT_GE(bits.position() + 8, out.bytes().size() * 8);
  return read;
}

Map randomMap(std::size_t size, std::size_t numCodes) {
  Sample::RandomBits random(size);
  Map map(size);
  for (std::uint8_t& code : map) code = static_cast<std::uint8_t>(random.next() % numCodes);
  return map;
}

TEST(ContextMap, OfOneCodeIsABit) {
  Brotli::BitWriter out;
  out.reserve(8);
  Brotli::writeContextMap(Map(64), 1, out);
  EXPECT_EQ(out.numBits(), 1U);
}

TEST(ContextMap, ComesBack) {
  for (std::size_t numCodes = 2; numCodes <= 256; ++numCodes) {
    const Map map = randomMap(64 * (1 + numCodes / 4), numCodes);
    EXPECT_EQ(writtenAndRead(map, numCodes), map) << numCodes << " codes";
  }
}

TEST(ContextMap, RowsOfEveryLengthComeBack) {
  for (std::size_t length = 1; length < 700; ++length) {
    Map map(length, 1);
    map.push_back(0);
    map.push_back(2);
    map.resize(map.size() + length, 2);
    EXPECT_EQ(writtenAndRead(map, 3), map) << length;
  }
}

TEST(ContextMap, RowsTakeFewBits) {
  Map map;
  for (std::uint8_t type = 0; type < 100; ++type) map.insert(map.end(), 64, type);
  Brotli::BitWriter out;
  out.reserve(Brotli::mostContextMapBits(map.size(), 100));
  Brotli::writeContextMap(map, 100, out);
  EXPECT_LT(out.numBits(), 100U * 16U);
  EXPECT_EQ(writtenAndRead(map, 100), map);
}

}  // namespace
