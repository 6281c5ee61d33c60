#include <gmock/gmock.h>

#include <stdexcept>

#include "formats/LasVlr.h"
#include "support/LasFile.h"

namespace {

using Formats::LasVlr;
using Formats::LasVlrRegion;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Testing::LasFile;
using testing::SizeIs;

constexpr std::uint64_t kHeader = 227;

struct Listing {
  std::vector<LasVlr> records;
  std::vector<std::string> warnings;
};

/// Lists the records of a file's region; a fetch outside the region is a failure.
Listing list(const std::string& file, const LasVlrRegion& region) {
  Listing listing;
  const auto fetch = [&](std::uint64_t offset, std::span<std::byte> out) {
    if (offset < region.begin || offset + out.size() > region.end)
      throw std::logic_error("outside the region");
    std::memcpy(out.data(), file.data() + offset, out.size());
  };
  listing.records = Formats::listLasVlrs(region, fetch, listing.warnings);
  return listing;
}

Listing listVlrs(const std::string& file, std::uint64_t count) {
  return list(file, {LasVlrRegion::Kind::Vlr, kHeader, file.size(), count});
}

TEST(LasVlr, AreListedWithTheirPlaces) {
  const std::string file =
      LasFile().vlr("LASF_Projection", 34735, "keys").vlr("sixteen letters!", 7, "").bytes();
  const Listing listing = listVlrs(file, 2);
  EXPECT_THAT(listing.records, ElementsAre(LasVlr{"LASF_Projection", 34735, kHeader + 54, 4},
                                           LasVlr{"sixteen letters!", 7, kHeader + 54 + 4 + 54, 0}));
  EXPECT_THAT(listing.warnings, IsEmpty());
}

TEST(LasVlr, ExtendedOnesHave64BitLengths) {
  std::string file = LasFile(6).points(1).evlr("LASF_Spec", 65535, "").bytes();
  const std::uint64_t begin = 375 + 30;
  Testing::put(file, begin + 20, std::uint64_t{1} << 40U);
  const auto found = list(file, {LasVlrRegion::Kind::Evlr, begin, std::uint64_t{1} << 41U, 1});
  EXPECT_THAT(found.records, ElementsAre(LasVlr{"LASF_Spec", 65535, begin + 60, std::uint64_t{1} << 40U}));
}

TEST(LasVlr, IgnoresWhatStandsInTheReservedField) {
  EXPECT_THAT(listVlrs(LasFile().vlr("a", 1, "x").patch(kHeader, std::uint16_t{0xAABB}).bytes(), 1).records,
              SizeIs(1));
}

TEST(LasVlr, EndWhereThereIsNoRoomForMore) {
  const Listing listing =
      listVlrs(LasFile().vlr("a", 1, "x").gap(std::string(53, 'g')).bytes(), 4'000'000'000);
  EXPECT_THAT(listing.records, SizeIs(1));
  EXPECT_THAT(listing.warnings,
              ElementsAre("The header counts 4000000000 records before the points; 1 were read, "
                          "there is no room for more."));
}

TEST(LasVlr, EndBeforeOneThatWouldLeaveTheRegion) {
  const std::string file = LasFile().vlr("a", 1, "x").vlr("b", 2, "yy").vlr("c", 3, "").bytes();
  std::string cut = file;
  Testing::put(cut, kHeader + 55 + 20, std::uint16_t{57});
  const Listing listing = listVlrs(cut, 3);
  EXPECT_THAT(listing.records, ElementsAre(LasVlr{"a", 1, kHeader + 54, 1}));
  EXPECT_THAT(listing.warnings, ElementsAre(HasSubstr("at byte 282, is longer than the room")));
}

TEST(LasVlr, SurviveLengthsThatOverflow) {
  std::string file = LasFile(6).evlr("a", 1, "x").bytes();
  Testing::put(file, 375 + 20, UINT64_MAX - 10);
  EXPECT_THAT(list(file, {LasVlrRegion::Kind::Evlr, 375, file.size(), 1}).records, IsEmpty());
}

TEST(LasVlr, ThatWouldBeginBehindTheRegionAreNone) {
  EXPECT_THAT(list("", {LasVlrRegion::Kind::Evlr, UINT64_MAX, 1000, 1}).records, IsEmpty());
}

TEST(LasVlr, AreReadUpToTheLimit) {
  const std::string empty(54 * 10'001, '\0');
  const auto listing = list(empty, {LasVlrRegion::Kind::Vlr, 0, empty.size(), 10'001});
  EXPECT_THAT(listing.records, SizeIs(10'000));
  EXPECT_THAT(listing.warnings, ElementsAre(HasSubstr("the most that is read")));
}

TEST(LasVlr, SurviveEveryTruncation) {
  const std::string whole = LasFile().vlr("a", 1, "xyz").vlr("b", 2, "uvw").bytes();
  for (std::size_t end = kHeader; end < whole.size(); ++end) {
    const std::string cut(whole.data(), end);
    EXPECT_LT(listVlrs(cut, 2).records.size(), 2U);
  }
}

}  // namespace
