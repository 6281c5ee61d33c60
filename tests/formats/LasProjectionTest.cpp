#include <gmock/gmock.h>

#include <initializer_list>
#include <span>

#include "formats/LasProjection.h"
#include "support/LasFile.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::vector<std::byte> bytesOf(const std::string& text) {
  const auto bytes = std::as_bytes(std::span(text));
  return {bytes.begin(), bytes.end()};
}

struct Key {
  std::uint16_t id;
  std::uint16_t location;
  std::uint16_t count;
  std::uint16_t value;
};

std::vector<std::byte> directory(std::initializer_list<Key> keys) {
  std::string bytes;
  const auto numKeys = static_cast<std::uint16_t>(keys.size());
  for (const std::uint16_t number : {std::uint16_t{1}, std::uint16_t{1}, std::uint16_t{0}, numKeys}) {
    Testing::put(bytes, bytes.size(), number);
  }
  for (const Key& key : keys) {
    for (const std::uint16_t number : {key.id, key.location, key.count, key.value}) {
      Testing::put(bytes, bytes.size(), number);
    }
  }
  return bytesOf(bytes);
}

struct Projection {
  std::string text;
  std::vector<std::string> warnings;
};

Projection read(const Formats::LasProjectionRecords& records, bool statesWkt = false) {
  Projection result;
  result.text = Formats::projectionOf(records, statesWkt, result.warnings);
  return result;
}

std::string textOfKeys(std::initializer_list<Key> keys) {
  return read({{}, {}, directory(keys), bytesOf("Local grid|GRS 80|")}).text;
}

TEST(LasProjection, IsEmptyWhereAFileStatesNone) {
  EXPECT_EQ(read({}).text, "");
  EXPECT_EQ(read({}, true).text, "");
}

TEST(LasProjection, IsTheWktUpToItsFirstZero) {
  EXPECT_EQ(read({bytesOf(std::string("PROJCS[1]\0junk", 14)), {}, {}, {}}, true).text, "PROJCS[1]");
}

TEST(LasProjection, PrefersWktWhereTheHeaderStatesIt) {
  const auto keys = directory({{3072, 0, 1, 26917}});
  EXPECT_EQ(read({bytesOf("PROJCS[1]"), {}, keys, {}}, true).text, "PROJCS[1]");
  EXPECT_EQ(read({bytesOf("PROJCS[1]"), {}, keys, {}}, false).text, "EPSG:26917");
}

TEST(LasProjection, FallsBackToWhatIsThere) {
  const auto keys = directory({{3072, 0, 1, 26917}});
  EXPECT_EQ(read({{}, {}, keys, {}}, true).text, "EPSG:26917");
  EXPECT_EQ(read({bytesOf("PROJCS[1]"), {}, {}, {}}, false).text, "PROJCS[1]");
  EXPECT_EQ(read({bytesOf(""), bytesOf("PROJCS[2]"), {}, {}}, false).text, "PROJCS[2]");
}

TEST(LasProjection, NamesThePlainCodesOfKeys) {
  EXPECT_EQ(textOfKeys({{1024, 0, 1, 1}, {3072, 0, 1, 32754}, {4099, 0, 1, 9001}}), "EPSG:32754");
  EXPECT_EQ(textOfKeys({{1024, 0, 1, 2}, {2048, 0, 1, 4326}}), "EPSG:4326");
  EXPECT_EQ(textOfKeys({{2048, 0, 1, 4326}}), "EPSG:4326");
  EXPECT_EQ(textOfKeys({{3072, 0, 1, 26917}, {4096, 0, 1, 5703}}), "EPSG:26917+5703");
  EXPECT_EQ(textOfKeys({{3072, 0, 1, 26917}, {4096, 0, 1, 32767}}), "EPSG:26917");
}

TEST(LasProjection, OfAProjectedSystemIsNotItsGeographicOne) {
  EXPECT_EQ(textOfKeys({{1024, 0, 1, 1}, {2048, 0, 1, 4269}, {3072, 0, 1, 26995}}), "EPSG:26995");
  EXPECT_EQ(textOfKeys({{1024, 0, 1, 1}, {2048, 0, 1, 4269}, {3072, 0, 1, 32767}}), "");
}

TEST(LasProjection, IsTheNameOfAUserDefinedSystem) {
  EXPECT_EQ(textOfKeys({{1024, 0, 1, 1}, {1026, 34737, 11, 0}, {3072, 0, 1, 32767}}), "Local grid");
  EXPECT_EQ(textOfKeys({{1024, 0, 1, 1}, {1026, 34737, 11, 0}, {3072, 0, 1, 32767}, {3073, 34737, 7, 11}}),
            "GRS 80");
  EXPECT_EQ(textOfKeys({{1024, 0, 1, 2}, {2048, 0, 1, 32767}, {2049, 34737, 7, 11}}), "GRS 80");
}

TEST(LasProjection, PrefersWktToTheMereNameInKeys) {
  const auto keys = directory({{1026, 34737, 11, 0}, {3072, 0, 1, 32767}});
  EXPECT_EQ(read({bytesOf("PROJCS[1]"), {}, keys, bytesOf("Local grid|")}).text, "PROJCS[1]");
}

TEST(LasProjection, SurvivesEveryTruncationOfTheKeys) {
  const auto whole = directory({{1024, 0, 1, 1}, {3072, 0, 1, 26917}});
  for (std::size_t size = 1; size < whole.size(); ++size) {
    const std::vector<std::byte> cut(whole.data(), whole.data() + size);
    const Projection result = read({{}, {}, cut, {}});
    EXPECT_EQ(result.text, "");
    EXPECT_THAT(result.warnings, testing::SizeIs(1)) << size;
  }
}

TEST(LasProjection, SurvivesTextsThatLeaveTheirRecord) {
  for (const Key key : {Key{1026, 34737, 12, 0}, Key{1026, 34737, 1, 11}, Key{1026, 34737, 65535, 65535}}) {
    const Projection result = read({{}, {}, directory({key, {3072, 0, 1, 32767}}), bytesOf("Local grid|")});
    EXPECT_EQ(result.text, "");
    EXPECT_THAT(result.warnings, ElementsAre(HasSubstr("key 1026 is damaged")));
  }
}

TEST(LasProjection, IgnoresWhatKeysHoldBesideCodes) {
  const Projection result =
      read({{}, {}, directory({{0, 0, 0, 0}, {2057, 34736, 1, 999}, {3072, 0, 1, 32617}}), {}});
  EXPECT_EQ(result.text, "EPSG:32617");
  EXPECT_THAT(result.warnings, IsEmpty());
}

}  // namespace
