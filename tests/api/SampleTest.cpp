#include <gtest/gtest.h>

#include <cstring>

#include "Sorvik/Sample.h"
#include "support/SampleData.h"
#include "support/TempFolder.h"

namespace Testing {
namespace {

constexpr std::size_t kHeaderSize = 375;
constexpr std::size_t kPointSize = 36;

std::string sample(const std::string& name, std::uint64_t numPoints, std::uint64_t seed) {
  const TempFolder folder;
  Sorvik::makeSample((folder.path() / name).wstring(), numPoints, seed);
  return readFile(folder.path() / name);
}

std::uint64_t hashOf(const std::string& bytes) {
  std::uint64_t hash = 0xcbf29ce484222325U;  // FNV-1a
  for (const char c : bytes) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3U;
  return hash;
}

template <class T>
T at(const std::string& bytes, std::size_t offset) {
  T value;
  std::memcpy(&value, bytes.data() + offset, sizeof(T));
  return value;
}

TEST(MakeSample, MakesThisFileOnEveryMachine) {
  EXPECT_EQ(hashOf(sample("a.las", 300'000, 1)), 18083427923702070702U);
}

TEST(MakeSample, DiffersWithTheSeed) { EXPECT_NE(sample("a.las", 1000, 1), sample("a.las", 1000, 2)); }

TEST(MakeSample, HasAsManyPointsAsAskedFor) {
  for (const std::uint64_t numPoints : {0U, 1U, 12'345U}) {
    const std::string file = sample("a.las", numPoints, 7);
    EXPECT_EQ(at<std::uint64_t>(file, 247), numPoints);
    EXPECT_EQ(file.size(), kHeaderSize + numPoints * kPointSize);
  }
}

TEST(MakeSample, FillsTheFieldsOfItsPoints) {
  const std::string file = sample("a.las", 2000, 1);
  EXPECT_EQ(at<std::uint8_t>(file, 104), 7) << "point format";
  EXPECT_EQ(at<std::uint16_t>(file, 6) & 1, 1) << "adjusted standard time";
  for (std::size_t i = 0; i < 2000; ++i) {
    const std::size_t point = kHeaderSize + i * kPointSize;
    ASSERT_GE(at<std::uint8_t>(file, point + 14), 0x11) << "returns";
    ASSERT_GE(at<std::uint8_t>(file, point + 16), 2) << "class";
    ASSERT_EQ(at<std::uint16_t>(file, point + 20), 1) << "strip";
    ASSERT_GE(at<double>(file, point + 22), 3.2e8);
    for (std::size_t c = 0; c < 3; ++c) ASSERT_GE(at<std::uint16_t>(file, point + 30 + 2 * c), 256);
  }
  EXPECT_GE(at<double>(file, 187), 452000) << "the least x";
  EXPECT_LE(at<double>(file, 179), 452200) << "the greatest x";
}

TEST(MakeSample, GoesWithoutFlagsIntoAFileOfAnOlderVersion) {
  const TempFolder folder;
  Sorvik::SampleOptions options;
  options.lasVersion = Sorvik::LasVersion::V12;
  Sorvik::makeSample((folder.path() / "a.las").wstring(), 300'000, 1, options);  // several strips
  const std::string file = readFile(folder.path() / "a.las");
  EXPECT_EQ(at<std::uint8_t>(file, 104), 3) << "point format";
  ASSERT_EQ(at<std::uint16_t>(file, 105), 36) << "with the exact scan angle";
  const std::size_t first = at<std::uint32_t>(file, 96);
  for (std::size_t i = 0; i < 300'000; ++i) {
    const auto classByte = at<std::uint8_t>(file, first + i * 36 + 15);
    ASSERT_GE(classByte, 2);
    ASSERT_LT(classByte, 32) << "no flags";
  }
}

TEST(MakeSample, IsWrittenInAnyFormat) {
  const std::string text = sample("a.csv", 3, 1);
  EXPECT_EQ(
      text.substr(0, text.find('\n')),
      "x,y,z,intensity,return number,number of returns,classification flags,classification,user data,scan "
      "angle,point source id,gps-time,r,g,b");
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 4);
}

TEST(MakeSample, TellsHowFarItIs) {
  const TempFolder folder;
  std::vector<std::uint64_t> told;
  Sorvik::makeSample((folder.path() / "a.las").wstring(), 600'000, 1,
                     {[&](std::uint64_t numPoints) { told.push_back(numPoints); }});
  EXPECT_GE(told.size(), 2U);
  EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
  EXPECT_EQ(told.back(), 600'000U);
}

TEST(MakeSample, LeavesNothingWhenItIsStopped) {
  const TempFolder folder;
  const auto stop = [](std::uint64_t) { throw std::length_error("stop"); };
  EXPECT_THROW(Sorvik::makeSample((folder.path() / "a.las").wstring(), 1000, 1, {stop}), std::length_error);
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(MakeSample, RefusesMorePointsThanItsAreaHolds) {
  EXPECT_THROW(Sorvik::makeSample(L"never.las", 1'000'000'000'001, 1), std::invalid_argument);
}

}  // namespace
}  // namespace Testing
