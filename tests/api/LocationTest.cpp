#include <gmock/gmock.h>

#include <optional>
#include <ostream>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "Sorvik/Location.h"
#include "api/SmallCloud.h"

namespace {

using Sorvik::FileSystemLocation;
using Sorvik::HttpsLocation;
using Sorvik::Location;
using Sorvik::PointCloud;
using Testing::CloudFolder;
using testing::HasSubstr;
using testing::ThrowsMessage;

/// A cloud whose metadata announce so many points and that has no node: enough to be told from others.
CloudFolder cloudOf(const char* points) {
  return CloudFolder(Testing::PotreeFiles().record({}).set("/points", points));
}

std::uint64_t pointsAt(const Location& location) { return PointCloud(location).numPoints(); }

TEST(Location, OfTheDefaultDoesNotExistAndCannotBeOpened) {
  const Location location;
  EXPECT_FALSE(location.exists());
  EXPECT_THAT([&] { PointCloud{location}; },
              ThrowsMessage<std::runtime_error>("cannot open an empty location"));
}

TEST(Location, IsOnePointerBehindAVirtualDestructor) {
  static_assert(std::has_virtual_destructor_v<Location>);
  static_assert(sizeof(Location) == 2 * sizeof(void*));
  static_assert(sizeof(FileSystemLocation) == sizeof(Location) && sizeof(HttpsLocation) == sizeof(Location));
  static_assert(std::is_nothrow_move_constructible_v<Location> &&
                std::is_nothrow_move_assignable_v<Location>);
  static_assert(!std::is_convertible_v<std::wstring, FileSystemLocation>);
  static_assert(!std::is_convertible_v<std::string, HttpsLocation>);
}

TEST(Location, OfAFolderWithACloudExists) {
  const CloudFolder folder;
  EXPECT_TRUE(folder.location().exists());
  EXPECT_EQ(pointsAt(folder.location()), 220U);
}

TEST(Location, OfAFolderThatDoesNotExistCanBeConstructedAndDoesNotExist) {
  const FileSystemLocation location(L"/no such folder/at all");
  EXPECT_FALSE(location.exists());
  EXPECT_FALSE(FileSystemLocation(L"").exists());
}

TEST(Location, OfAFolderWithoutMetadataOrOfAFileDoesNotExist) {
  const Testing::TempFolder folder;
  EXPECT_FALSE(FileSystemLocation(folder.path().wstring()).exists());
  EXPECT_FALSE(FileSystemLocation(folder.write("file", "text").wstring()).exists());
}

TEST(Location, OfAFolderWithAnEntwineDocumentExists) {
  const Testing::TempFolder folder;
  folder.write("ept.json", R"({"schema": [], "hierarchyType": "json"})");
  const FileSystemLocation location(folder.path().wstring());
  EXPECT_TRUE(location.exists());
  EXPECT_THAT([&] { PointCloud{location}; },
              ThrowsMessage<std::runtime_error>(HasSubstr("Entwine clouds are not supported yet")));
}

TEST(Location, ReadsNothingUntilItIsAsked) {
  const Testing::TempFolder folder;
  const FileSystemLocation location((folder.path() / "later").wstring());
  EXPECT_FALSE(location.exists());
  Testing::elevenNodes().write(folder, "later");
  EXPECT_TRUE(location.exists());
}

TEST(Location, AndItsCopyReferToTheSameStorageAndEachIsUsableWithoutTheOther) {
  const CloudFolder folder;
  auto a = std::make_optional<Location>(folder.location());
  const Location b = *a;
  EXPECT_EQ(pointsAt(*a), 220U);
  EXPECT_EQ(pointsAt(b), 220U);
  a.reset();
  EXPECT_TRUE(b.exists());
  EXPECT_EQ(pointsAt(b), 220U);
}

TEST(Location, TakesOverWhatACopyAssignedToItNames) {
  const CloudFolder one = cloudOf("1");
  const CloudFolder two = cloudOf("2");
  const Location source = one.location();
  Location target = two.location();
  target = source;
  EXPECT_EQ(pointsAt(target), 1U);
  EXPECT_EQ(pointsAt(source), 1U);
}

TEST(Location, ExchangesWhatItNamesWithAMoveAssignedOne) {
  const CloudFolder one = cloudOf("1");
  const CloudFolder two = cloudOf("2");
  Location a = one.location();
  Location b = two.location();
  b = std::move(a);
  EXPECT_EQ(pointsAt(b), 1U);
  EXPECT_EQ(pointsAt(a), 2U);  // NOLINT(bugprone-use-after-move): the exchange is what is tested
}

TEST(Location, ExchangesAlsoThroughTheDerivedClasses) {
  const CloudFolder folder = cloudOf("1");
  FileSystemLocation a = folder.location();
  FileSystemLocation b(L"/nowhere");
  b = std::move(a);
  EXPECT_TRUE(b.exists());
  EXPECT_FALSE(a.exists());  // NOLINT(bugprone-use-after-move): the exchange is what is tested
}

TEST(Location, HandsItsStorageOverWhenMovedFromAndCanBeAssignedToAfterwards) {
  const CloudFolder folder = cloudOf("1");
  Location a = folder.location();
  Location b(std::move(a));
  EXPECT_EQ(pointsAt(b), 1U);
  a = b;  // NOLINT(bugprone-use-after-move): this is what a moved-from location allows
  EXPECT_EQ(pointsAt(a), 1U);
  const Location c(std::move(a));
  a = std::move(b);
  EXPECT_EQ(pointsAt(a), 1U);
  b = FileSystemLocation(L"/nowhere");
  EXPECT_FALSE(b.exists());
}

TEST(Location, SurvivesAssignmentFromItself) {
  const CloudFolder folder = cloudOf("1");
  Location location = folder.location();
  Location& itself = location;
  location = itself;
  EXPECT_EQ(pointsAt(location), 1U);
  location = std::move(itself);
  EXPECT_EQ(pointsAt(location), 1U);
}

TEST(HttpsLocation, DoesNotExistWhereNobodyAnswers) {
  EXPECT_FALSE(HttpsLocation("https://127.0.0.1:1/cloud").exists());
  EXPECT_FALSE(HttpsLocation("no address at all").exists());
}

TEST(HttpsLocation, CannotBeOpenedByAnotherSchemeAndSaysSoWithoutTheQuery) {
  const auto refused = ThrowsMessage<std::runtime_error>(
      "cannot open http://example.org/cloud: http://example.org/cloud: expected an https address, found the "
      "scheme "
      "'http'");
  const HttpsLocation location("http://example.org/cloud?token=1");
  EXPECT_THAT([&] { PointCloud{location}; }, refused);
  const Location copy = location;
  EXPECT_THAT([&] { PointCloud{copy}; }, refused);
}

/// A folder's name as users write it and as the file system stores it.
struct Name {
  const char* label;
  std::wstring wide;
  std::string bytes;

  friend std::ostream& operator<<(std::ostream& out, const Name& name) { return out << name.label; }
};

class LocationName : public testing::TestWithParam<Name> {};

TEST_P(LocationName, IsFoundOpenedAndNamedInMessages) {
  const Testing::TempFolder folder;
  Testing::elevenNodes().write(folder, GetParam().bytes);
  const std::wstring prefix = folder.path().wstring() + L'/';
  const FileSystemLocation location(prefix + GetParam().wide);
  EXPECT_TRUE(location.exists());
  EXPECT_EQ(pointsAt(location), 220U);
  const FileSystemLocation missing(prefix + GetParam().wide + L"/none");
  EXPECT_FALSE(missing.exists());
  const std::string path = folder.path().string() + '/' + GetParam().bytes + "/none";
  EXPECT_THAT([&] { PointCloud{missing}; }, ThrowsMessage<std::runtime_error>(HasSubstr(path)));
}

/// A path of folders with names of 200 characters, some 3,000 bytes long.
template <class Text>
Text longPath() {
  Text path;
  for (int i = 0; i < 15; ++i) path += Text(200, 'n') + Text(1, '/');
  return path + Text(1, 'c');
}

INSTANTIATE_TEST_SUITE_P(
    Names, LocationName,
    testing::Values(Name{"Spaces", L" two  words ", " two  words "},
                    Name{"LettersBeyondAscii", L"Gel\u00E4nde \u5730\u5F62",
                         "Gel\xC3\xA4nde \xE5\x9C\xB0\xE5\xBD\xA2"},
                    Name{"BeyondTheBasicPlane", L"scan \U0001F6F0", "scan \xF0\x9F\x9B\xB0"},
                    Name{"NoUtf8",
                         {L'a', wchar_t{0xDC80}, L'b', wchar_t{0xDCE4}, wchar_t{0xDCFF}},
                         "a\x80"
                         "b\xE4\xFF"},
                    Name{"TwoHundredCharacters", std::wstring(200, L'x'), std::string(200, 'x')},
                    Name{"ThreeThousandBytes", longPath<std::wstring>(), longPath<std::string>()}),
    [](const auto& name) { return name.param.label; });

}  // namespace
