#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "Sorvik/PointFileWriter.h"
#include "support/SampleData.h"
#include "support/TempFolder.h"

namespace Testing {
namespace {

using Sorvik::AttributeType;
using Sorvik::PointFileColumn;
using Sorvik::PointFileLayout;
using Sorvik::PointFileWriter;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
using testing::ThrowsMessage;

template <class T>
T at(const std::string& bytes, std::size_t offset) {
  T value;
  std::memcpy(&value, bytes.data() + offset, sizeof(T));
  return value;
}

PointFileLayout layoutOf(std::vector<Sorvik::PointFileAttribute> attributes) {
  PointFileLayout layout;
  layout.scale.fill(0.01);
  layout.attributes = std::move(attributes);
  return layout;
}

const std::vector<double> kTwoPoints{1, 2, 3, -4.5, 5, 6.25};

class PointFileWriterTest : public testing::Test {
 protected:
  [[nodiscard]] std::filesystem::path path(const std::string& name) const { return folder_.path() / name; }
  [[nodiscard]] std::wstring wide(const std::string& name) const { return path(name).wstring(); }

  /// The bytes of a file of that name with these points.
  [[nodiscard]] std::string written(const std::string& name, const PointFileLayout& layout,
                                    const std::vector<double>& positions,
                                    const std::vector<PointFileColumn>& columns) const {
    PointFileWriter writer(wide(name), layout);
    writer.write(positions, columns);
    writer.close();
    return readFile(path(name));
  }

  [[nodiscard]] std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

 private:
  TempFolder folder_;
};

TEST_F(PointFileWriterTest, WritesLasFilesWithTheirCounts) {
  const std::vector<std::uint16_t> intensities{7, 65535};
  const std::string file =
      written("a.las", layoutOf({{"intensity", AttributeType::UInt16}}), kTwoPoints, {intensities});
  EXPECT_THAT(file, StartsWith("LASF"));
  ASSERT_EQ(file.size(), 375 + 2 * 30U);
  EXPECT_EQ(at<std::uint64_t>(file, 247), 2U);
  EXPECT_EQ(at<double>(file, 187), -4.5) << "the least x";
  EXPECT_EQ(at<std::int32_t>(file, 375 + 30), -450);
  EXPECT_EQ(at<std::uint16_t>(file, 375 + 30 + 12), 65535);
}

TEST_F(PointFileWriterTest, WritesLazFilesWithTheirCounts) {
  const std::string file = written("a.laz", layoutOf({}), kTwoPoints, {});
  EXPECT_THAT(file, StartsWith("LASF"));
  EXPECT_EQ(at<std::uint8_t>(file, 104), 6 | 0x80) << "compressed";
  EXPECT_EQ(at<std::uint64_t>(file, 247), 2U);
  EXPECT_EQ(at<double>(file, 187), -4.5) << "the least x";
  const auto chunks = at<std::uint32_t>(file, 96);
  EXPECT_EQ(at<std::int32_t>(file, chunks + 8), 100) << "the first record stands as it is";
  const auto table = at<std::uint64_t>(file, chunks);
  EXPECT_EQ(at<std::uint32_t>(file, table + 4), 1U) << "the number of chunks";
}

TEST_F(PointFileWriterTest, WritesFilesOfAnOlderVersion) {
  const std::vector<std::uint8_t> classes{7, 31};
  PointFileLayout layout = layoutOf({{"classification", AttributeType::UInt8}});
  layout.lasVersion = Sorvik::LasVersion::V12;
  const std::string file = written("a.las", layout, kTwoPoints, {classes});
  EXPECT_EQ(at<std::uint8_t>(file, 25), 2) << "minor version";
  ASSERT_EQ(file.size(), 227 + 2 * 20U);
  EXPECT_EQ(at<std::uint8_t>(file, 227 + 20 + 15), 31);
  const std::string laz = written("a.laz", layout, kTwoPoints, {classes});
  EXPECT_EQ(at<std::uint8_t>(laz, 25), 2) << "minor version";
  EXPECT_EQ(at<std::uint8_t>(laz, 104), 0x80) << "format 0, compressed";
}

TEST_F(PointFileWriterTest, RemovesTheFileOnceAValueDoesNotFitTheOlderVersion) {
  const std::vector<std::uint8_t> classes{7, 32};
  PointFileLayout layout = layoutOf({{"classification", AttributeType::UInt8}});
  layout.lasVersion = Sorvik::LasVersion::V12;
  PointFileWriter writer(wide("a.las"), layout);
  EXPECT_THAT([&] { writer.write(kTwoPoints, std::array{PointFileColumn(classes)}); },
              ThrowsMessage<std::range_error>(
                  EndsWith("a.las: point 1: classification = 32: LAS 1.2 holds 0 to 31")));
  EXPECT_THROW(writer.close(), std::logic_error);
  EXPECT_THAT(names(), ElementsAre());
}

TEST_F(PointFileWriterTest, WritesCsvFilesOfAnyAttributes) {
  const std::vector<std::uint8_t> colors{1, 2, 3, 4, 5, 6};
  const std::vector<float> times{0.1F, -1e20F};
  const std::vector<std::int64_t> pairs{1, 2, 3, std::numeric_limits<std::int64_t>::min()};
  const std::vector<std::int8_t> levels{-5, 65};
  PointFileLayout layout = layoutOf({{"rgb", AttributeType::UInt8, 3},
                                     {"say \"time\"", AttributeType::Float},
                                     {"pair", AttributeType::Int64, 2},
                                     {"level", AttributeType::Int8}});
  layout.attributes[3].scale = {0.5};
  layout.attributes[3].offset = {100};
  EXPECT_EQ(written("a.csv", layout, kTwoPoints, {colors, times, pairs, levels}),
            "x,y,z,r,g,b,\"say \"\"time\"\"\",pair[0],pair[1],level\n"
            "1.00,2.00,3.00,1,2,3,0.1,1,2,97.5\n"
            "-4.50,5.00,6.25,4,5,6,-1e+20,3,-9223372036854775808,132.5\n");
}

TEST_F(PointFileWriterTest, WritesPlyFilesOfAnyAttributes) {
  const std::vector<std::uint64_t> counts{1, 2};
  const std::vector<std::int16_t> angles{-7, 9};
  const std::vector<std::uint16_t> colors{1, 2, 3, 4, 5, 600};
  const PointFileLayout layout = layoutOf({{"count", AttributeType::UInt64},
                                           {"scan angle", AttributeType::Int16},
                                           {"x", AttributeType::Int16},
                                           {"rgb", AttributeType::UInt16, 3}});
  const std::string file = written("a.ply", layout, kTwoPoints, {counts, angles, angles, colors});
  const std::string header = file.substr(0, file.find("end_header\n") + 11);
  EXPECT_THAT(header, HasSubstr("element vertex 2\n"));
  EXPECT_THAT(header,
              EndsWith("property ushort red\nproperty ushort green\nproperty ushort blue\n"
                       "property double count\nproperty short scan_angle\nproperty short x_2\nend_header\n"));
  const std::size_t second = header.size() + 42;
  ASSERT_EQ(file.size(), second + 42);
  EXPECT_EQ(at<double>(file, second), -4.5);
  EXPECT_EQ(at<std::uint16_t>(file, second + 28), 600);
  EXPECT_EQ(at<double>(file, second + 30), 2);
  EXPECT_EQ(at<std::int16_t>(file, second + 38), 9);
}

TEST_F(PointFileWriterTest, WritesManyBatchesAsOne) {
  constexpr std::size_t kCount = 20'000;
  std::vector<double> positions(3 * kCount);
  std::vector<std::uint16_t> intensities(kCount);
  for (std::size_t i = 0; i < kCount; ++i) {
    positions[3 * i] = static_cast<double>(i);
    intensities[i] = static_cast<std::uint16_t>(i);
  }
  for (const char* const name : {"a.las", "a.ply", "a.csv"}) {
    const PointFileLayout layout = layoutOf({{"intensity", AttributeType::UInt16}});
    const std::string whole = written(name, layout, positions, {intensities});
    PointFileWriter writer(wide(name), layout);
    for (std::size_t first = 0; first < kCount; first += 4999) {
      const std::size_t size = std::min<std::size_t>(4999, kCount - first);
      writer.write(std::span(positions).subspan(3 * first, 3 * size),
                   std::array{PointFileColumn(std::span(intensities).subspan(first, size))});
    }
    EXPECT_EQ(writer.numPoints(), kCount);
    writer.close();
    EXPECT_EQ(readFile(path(name)), whole) << name;
  }
}

TEST_F(PointFileWriterTest, TakesColumnsOutOfRecords) {
  struct Point {
    double time;
    std::array<float, 2> size;
  };
  const std::vector<Point> points{{1, {2, 3}}, {4, {5, 6}}};
  const PointFileColumn times(AttributeType::Double, &points[0].time, 3, 2);
  const PointFileColumn sizes(AttributeType::Float, points[0].size.data(), 6, 4);
  EXPECT_EQ(written("a.csv", layoutOf({{"time", AttributeType::Double}, {"size", AttributeType::Float, 2}}),
                    kTwoPoints, {times, sizes}),
            "x,y,z,time,size[0],size[1]\n1.00,2.00,3.00,1,2,3\n-4.50,5.00,6.25,4,5,6\n");
}

TEST_F(PointFileWriterTest, WritesFilesWithoutPoints) {
  for (const char* const name : {"a.las", "a.ply", "a.csv"}) {
    const std::string untouched =
        written(name, layoutOf({{"n", AttributeType::UInt8}}), {}, {std::vector<std::uint8_t>{}});
    EXPECT_FALSE(untouched.empty());
    PointFileWriter(wide(name), layoutOf({{"n", AttributeType::UInt8}})).close();
    EXPECT_EQ(readFile(path(name)), untouched);
  }
}

TEST_F(PointFileWriterTest, HandsCsvTextToASink) {
  std::string text;
  PointFileWriter writer([&text](Sorvik::Span<const char> lines) { text.append(lines.data(), lines.size()); },
                         layoutOf({}));
  EXPECT_EQ(text, "x,y,z\n");
  writer.write(kTwoPoints, {});
  writer.close();
  EXPECT_EQ(text, "x,y,z\n1.00,2.00,3.00\n-4.50,5.00,6.25\n");
}

TEST_F(PointFileWriterTest, LetsOutWhatTheSinkThrows) {
  PointFileWriter writer(
      [](Sorvik::Span<const char> lines) {
        if (lines[0] != 'x') throw std::length_error("enough");
      },
      layoutOf({}));
  EXPECT_THROW(writer.write(kTwoPoints, {}), std::length_error);
  EXPECT_THROW(writer.write(kTwoPoints, {}), std::logic_error);
}

TEST_F(PointFileWriterTest, KnowsItsFormatsByTheirExtensions) {
  for (const wchar_t* const name : {L"a.las", L"b/A.LAS", L"a.Laz", L"a.Ply", L"a.b.csv"}) {
    EXPECT_TRUE(PointFileWriter::canWrite(name));
  }
  for (const wchar_t* const name : {L"laz", L"las", L".las", L"a.las/b", L"", L"a.e57"}) {
    EXPECT_FALSE(PointFileWriter::canWrite(name));
  }
  EXPECT_THROW(PointFileWriter(wide("a.txt"), {}), std::invalid_argument);
  EXPECT_THAT(names(), ElementsAre());
}

TEST_F(PointFileWriterTest, KeepsTheOldFileUntilItIsClosed) {
  (void)written("a.csv", layoutOf({}), {}, {});
  {
    PointFileWriter writer(wide("a.csv"), layoutOf({}));
    writer.write(kTwoPoints, {});
    EXPECT_THAT(names(), ElementsAre("a.csv", "a.csv.partial"));
    EXPECT_EQ(writer.unfinishedFile(), path("a.csv.partial").string());
    EXPECT_EQ(readFile(path("a.csv")), "x,y,z\n");
  }
  EXPECT_THAT(names(), ElementsAre("a.csv"));
  EXPECT_EQ(readFile(path("a.csv")), "x,y,z\n");
}

TEST_F(PointFileWriterTest, WritesNothingMoreOnceItIsClosed) {
  PointFileWriter writer(wide("a.las"), layoutOf({}));
  writer.close();
  EXPECT_THROW(writer.write(kTwoPoints, {}), std::logic_error);
  EXPECT_THROW(writer.close(), std::logic_error);
  EXPECT_THAT(names(), ElementsAre("a.las"));
}

TEST_F(PointFileWriterTest, RemovesTheFileOnceACoordinateDoesNotFit) {
  PointFileWriter writer(wide("a.las"), layoutOf({}));
  writer.write(kTwoPoints, {});
  const std::vector<double> far{1, 1, 1e8};
  EXPECT_THAT([&] { writer.write(far, {}); },
              ThrowsMessage<std::range_error>(EndsWith("a.las: point 2: z = 100000000: expected at most 2^31 "
                                                       "steps of 0.01 from 0")));
  EXPECT_THROW(writer.close(), std::logic_error);
  EXPECT_THAT(names(), ElementsAre());
}

TEST_F(PointFileWriterTest, RefusesColumnsThatDoNotMatchAndGoesOn) {
  PointFileWriter writer(wide("a.csv"), layoutOf({{"n", AttributeType::UInt8, 2}}));
  const std::vector<std::uint8_t> good{1, 2, 3, 4};
  const std::vector<std::uint8_t> tooShort{1, 2, 3};
  const std::vector<std::int8_t> otherType{1, 2, 3, 4};
  const auto refuses = [&](const std::vector<double>& positions,
                           const std::vector<PointFileColumn>& columns) {
    EXPECT_THROW(writer.write(positions, columns), std::invalid_argument);
  };
  refuses(kTwoPoints, {});
  refuses(kTwoPoints, {good, good});
  refuses(kTwoPoints, {tooShort});
  refuses(kTwoPoints, {otherType});
  refuses(kTwoPoints, {PointFileColumn(good, 1)});
  refuses(kTwoPoints, {PointFileColumn(good, 3)});
  refuses(kTwoPoints, {PointFileColumn(good, UINT64_MAX)});
  refuses({1, 2, 3, 4}, {good});
  writer.write(kTwoPoints, std::array{PointFileColumn(good)});
  writer.close();
  EXPECT_THAT(readFile(path("a.csv")), EndsWith("\n1.00,2.00,3.00,1,2\n-4.50,5.00,6.25,3,4\n"));
}

TEST_F(PointFileWriterTest, RefusesLayoutsThatAreNone) {
  const auto refuses = [this](const PointFileLayout& layout) {
    EXPECT_THROW(PointFileWriter(wide("a.las"), layout), std::invalid_argument);
  };
  for (const double scale : {0.0, -0.01, static_cast<double>(NAN), static_cast<double>(INFINITY)}) {
    PointFileLayout layout;
    layout.scale[1] = scale;
    refuses(layout);
  }
  PointFileLayout infinite;
  infinite.offset[2] = INFINITY;
  refuses(infinite);
  refuses(layoutOf({{"", AttributeType::UInt8}}));
  refuses(layoutOf({{"n", AttributeType::UInt8, 0}}));
  refuses(layoutOf({{"n", AttributeType::UInt8, 65536}}));
  refuses(layoutOf({{"n", AttributeType::UInt8}, {"n", AttributeType::UInt16}}));
  refuses(layoutOf({{"n", AttributeType::UInt8, 2, "", {0.5}}}));
  refuses(layoutOf({{"n", static_cast<AttributeType>(10)}}));
  refuses(layoutOf({{"n", AttributeType::Double, 8192}}));
  EXPECT_THAT(names(), ElementsAre());
}

TEST_F(PointFileWriterTest, NamesTheFileThatCannotBeWritten) {
  EXPECT_THAT([this] { PointFileWriter(wide("none/a.las"), {}); },
              ThrowsMessage<std::runtime_error>(HasSubstr("none/a.las")));
  std::filesystem::create_directory(path("folder.las"));
  EXPECT_THAT([this] { PointFileWriter(wide("folder.las"), {}); },
              ThrowsMessage<std::runtime_error>(HasSubstr("not a plain file")));
}

TEST_F(PointFileWriterTest, TakesNamesOfAnyLetters) {
  PointFileWriter(wide("") + L"m\u00fchle \u6e2c\u91cf.las", {}).close();
  EXPECT_THAT(names(), ElementsAre("m\u00fchle \u6e2c\u91cf.las"));
}

TEST_F(PointFileWriterTest, GoesOnAfterAMove) {
  PointFileWriter first(wide("a.csv"), layoutOf({}));
  PointFileWriter second(std::move(first));
  second.write(kTwoPoints, {});
  second.close();
  EXPECT_EQ(second.numPoints(), 2U);
  EXPECT_THAT(names(), ElementsAre("a.csv"));
}

TEST(AttributeTypeOf, KnowsTheNumbersOfPrograms) {
  EXPECT_EQ(Sorvik::attributeTypeOf<signed char>(), AttributeType::Int8);
  EXPECT_EQ(Sorvik::attributeTypeOf<short>(), AttributeType::Int16);
  EXPECT_EQ(Sorvik::attributeTypeOf<int>(), AttributeType::Int32);
  EXPECT_EQ(Sorvik::attributeTypeOf<long long>(), AttributeType::Int64);
  EXPECT_EQ(Sorvik::attributeTypeOf<unsigned char>(), AttributeType::UInt8);
  EXPECT_EQ(Sorvik::attributeTypeOf<unsigned short>(), AttributeType::UInt16);
  EXPECT_EQ(Sorvik::attributeTypeOf<unsigned>(), AttributeType::UInt32);
  EXPECT_EQ(Sorvik::attributeTypeOf<unsigned long>(), AttributeType::UInt64);
  EXPECT_EQ(Sorvik::attributeTypeOf<float>(), AttributeType::Float);
  EXPECT_EQ(Sorvik::attributeTypeOf<double>(), AttributeType::Double);
}

TEST(CoordinateText, HasTheDecimalsOfTheScale) {
  EXPECT_EQ(Sorvik::coordinateText(636001.76, 0.001), "636001.760");
  EXPECT_EQ(Sorvik::coordinateText(0.5, 1.0 / 3), "0.5");
}

}  // namespace
}  // namespace Testing
