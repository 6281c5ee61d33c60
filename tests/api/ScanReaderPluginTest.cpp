#include <gmock/gmock.h>

#include <cmath>
#include <cstring>
#include <stdexcept>

#include "Sorvik/Converter.h"
#include "Sorvik/PointCloud.h"
#include "Sorvik/PointIterators.h"
#include "Sorvik/ScanReaderPlugin.h"
#include "api/FakePlugin.h"
#include "support/LasFile.h"
#include "support/TempFolder.h"

namespace Testing {
namespace {

using Sorvik::ConversionState;
using Sorvik::Converter;
using Sorvik::ConverterOptions;
using Sorvik::ConverterResult;
using Sorvik::PointFileColumn;
using Sorvik::ScanPointSink;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

/// The x in world coordinates and the intensity of each point, sorted.
using Points = std::vector<std::pair<double, int>>;

/// A folder of one file "scan.fake", which is converted by a plug-in.
class ReaderPlugin : public testing::Test {
 protected:
  std::filesystem::path write(const std::string& name, const std::string& bytes) const {
    return folder_.write("in/" + name, bytes);
  }
  [[nodiscard]] std::wstring in() const { return (folder_.path() / "in").wstring(); }
  [[nodiscard]] std::wstring out() const { return (folder_.path() / "out").wstring(); }

  [[nodiscard]] static ConverterOptions optionsFor(const std::vector<FakeFormat>& formats) {
    ConverterOptions options;
    options.syncToDisk = false;
    for (const FakeFormat& format : formats) options.readers.push_back(std::make_shared<FakePlugin>(format));
    return options;
  }

  void convert(const std::vector<FakeFormat>& formats) {
    Converter converter(in(), out(), optionsFor(formats));
    EXPECT_EQ(converter.run(), ConversionState::Completed) << converter.failedReason();
    remarks = converter.remarks();
  }

  /// Converts, with a failure that names the file.
  void expectFailure(const FakeFormat& format, const std::string& text) {
    Converter converter(in(), out(), optionsFor({format}));
    EXPECT_EQ(converter.run(), ConversionState::Failed);
    EXPECT_EQ(converter.resultCode(), ConverterResult::InputCannotRead);
    EXPECT_THAT(converter.failedReason(), AllOf(StartsWith(scan.string() + ": "), HasSubstr(text)));
    EXPECT_FALSE(std::filesystem::exists(folder_.path() / "out"));
  }

  [[nodiscard]] Points points() const {
    const Sorvik::FileSystemLocation location(out());
    const Sorvik::PointCloud cloud(location);
    double reference[3];
    cloud.getReferencePosition(reference);
    Points points;
    for (const Sorvik::PointChunk& chunk : Sorvik::AllPointsIterator(cloud, 0)) {
      for (std::uint64_t i = 0; i < chunk.size(); ++i) {
        points.emplace_back(chunk.positions()[3 * i] + reference[0], chunk.intensities()[i]);
      }
    }
    std::sort(points.begin(), points.end());
    return points;
  }

  std::vector<std::string> remarks;

 private:
  TempFolder folder_;

 protected:
  const std::filesystem::path scan = write("scan.fake", "FAKE and more");
};

Points defaultPoints() {
  Points points;
  for (int i = 0; i < 100; ++i) points.emplace_back(i, 2 * i);
  return points;
}

/// Where a virtual function stands in the table, by the Itanium ABI: on all but ARM one is added.
template <class Function>
std::uintptr_t slotOf(Function function) {
  std::uintptr_t word = 0;
  static_assert(sizeof function >= sizeof word);
  std::memcpy(&word, &function, sizeof word);
  return word / sizeof(void*);
}

TEST(ScanReaderPlugin, KeepsTheVirtualSlotsOfItsVersion) {
  EXPECT_EQ(slotOf(&Sorvik::ScanReaderPlugin::apiVersion), 0U);
  EXPECT_EQ(slotOf(&Sorvik::ScanReaderPlugin::extension), 3U);  // behind the two of the destructor
  EXPECT_EQ(slotOf(&Sorvik::ScanReaderPlugin::probe), 4U);
  EXPECT_EQ(slotOf(&Sorvik::ScanReaderPlugin::open), 5U);
  EXPECT_EQ(slotOf(&Sorvik::OpenedScan::describe), 2U);
  EXPECT_EQ(slotOf(&Sorvik::OpenedScan::readsInParallel), 3U);
  EXPECT_EQ(slotOf(&Sorvik::OpenedScan::read), 4U);
  EXPECT_EQ(slotOf(&Sorvik::ScanPointSink::take), 0U);
}

TEST_F(ReaderPlugin, ReadsFilesOfItsExtensionThatAFolderHolds) {
  convert({FakeFormat()});
  EXPECT_EQ(points(), defaultPoints());
  EXPECT_THAT(remarks, IsEmpty());
}

TEST_F(ReaderPlugin, DoesNotChangeWhichTypesAreSupportedElsewhere) {
  EXPECT_FALSE(Converter::isSupportedFileType(L"scan.fake"));
  EXPECT_THAT(Converter::supportedFileExtensions(), SizeIs(9));
}

TEST_F(ReaderPlugin, FindsItsFilesWhateverTheLettersOfTheExtension) {
  FakeFormat format;
  format.extension = ".FaKe";
  convert({format});
  EXPECT_EQ(points(), defaultPoints());
}

TEST_F(ReaderPlugin, SeesTheFirstBytesAndLeavesTheFileToTheNext) {
  FakeFormat other;
  std::string seen;
  other.probe = [&](const std::string& start) {
    seen = start;
    return false;
  };
  other.onOpen = [] { throw std::logic_error("opened"); };
  convert({other, FakeFormat()});
  EXPECT_EQ(seen, "FAKE and more");
  EXPECT_EQ(points(), defaultPoints());
}

TEST_F(ReaderPlugin, SeesNoMoreThanTheFirst4096Bytes) {
  write("scan.fake", std::string(10'000, 'a'));
  FakeFormat format;
  std::size_t seen = 0;
  format.probe = [&](const std::string& start) {
    seen = start.size();
    return true;
  };
  convert({format});
  EXPECT_EQ(seen, Sorvik::ScanReaderPlugin::kProbeBytes);
}

TEST_F(ReaderPlugin, ThatKnowsNoFileLeavesItUnsupported) {
  FakeFormat format;
  format.probe = [](const std::string&) { return false; };
  Converter converter(in(), out(), optionsFor({format}));
  EXPECT_EQ(converter.run(), ConversionState::Failed);
  EXPECT_EQ(converter.resultCode(), ConverterResult::InputPointCloudFormatUnsupported);
  EXPECT_THAT(converter.failedReason(), HasSubstr("scan.fake: no reader plug-in knows its first bytes"));
}

TEST_F(ReaderPlugin, OfAKnownExtensionComesFirstAndMayLeaveTheFileToTheLibrary) {
  std::filesystem::remove(scan);
  write("scan.las", LasFile().point(500, 0, 0).bytes());
  FakeFormat format;
  format.extension = ".las";
  format.probe = [](const std::string& start) { return !start.starts_with("LASF"); };
  convert({format});
  EXPECT_EQ(points(), (Points{{5, 0}}));
}

TEST_F(ReaderPlugin, OfTheExtensionOfAProjectMayLeaveItToTheLibrary) {
  std::filesystem::remove(scan);
  write("a.rsp",
        "<project><scanpositions><scanposition><singlescans><scan><file>a.rxp</file></scan></singlescans>"
        "</scanposition></scanpositions></project>");
  write("a.las", LasFile().point(500, 0, 0).bytes());
  FakeFormat format;
  format.extension = ".rsp";
  format.probe = [](const std::string& start) { return start.starts_with("another format"); };
  convert({format});
  EXPECT_EQ(points(), (Points{{5, 0}}));
}

TEST_F(ReaderPlugin, MakesTheSameCloudWithAndWithoutBounds) {
  FakeFormat format;
  format.description.bounds = {{0, 0, 0}, {99, 0, 0}};
  convert({format});
  EXPECT_EQ(points(), defaultPoints());
}

TEST_F(ReaderPlugin, MayTellOfWrongBounds) {
  for (const double edge : {3.0, 1e6, std::nan("")}) {
    std::filesystem::remove_all(out());
    FakeFormat format;
    format.description.bounds = {{0, 0, 0}, {edge, 0, 0}};
    convert({format});
    EXPECT_EQ(points(), defaultPoints()) << edge;
  }
}

TEST_F(ReaderPlugin, HasPointsWithoutAPlaceLeftOutAndCounted) {
  FakeFormat format;
  format.description.numPoints = 5;
  format.read = [](std::uint64_t, std::uint64_t, ScanPointSink& sink) {
    const std::vector<double> positions{NAN, 0, 0, 1, 0, 0, 2, 0, 0, 3, INFINITY, 0, 4, 0, 0};
    const std::vector<std::uint16_t> intensities{0, 10, 20, 30, 40};
    sink.take(positions, std::vector<PointFileColumn>{intensities});
  };
  convert({format});
  EXPECT_EQ(points(), (Points{{1, 10}, {2, 20}, {4, 40}}));
  EXPECT_THAT(remarks, ElementsAre(HasSubstr("2 points whose coordinates are not finite were left out")));
}

TEST_F(ReaderPlugin, MayGiveColumnsWithAStride) {
  FakeFormat format;
  format.description.numPoints = 2;
  format.read = [](std::uint64_t, std::uint64_t, ScanPointSink& sink) {
    const std::vector<std::uint16_t> records{7, 0, 0, 8, 0, 0};
    sink.take(std::vector<double>{0, 0, 0, 1, 0, 0}, std::vector{PointFileColumn(records, 3)});
  };
  convert({format});
  EXPECT_EQ(points(), (Points{{0, 7}, {1, 8}}));
}

TEST_F(ReaderPlugin, ThatThrowsFailsWithItsWords) {
  FakeFormat format;
  format.onOpen = [] { throw std::runtime_error("line 3: expected a number"); };
  expectFailure(format, "line 3: expected a number");
  format.onOpen = [] { throw 42; };
  expectFailure(format, "the reader plug-in threw what is no exception");

  FakeFormat probing;
  probing.probe = [](const std::string&) -> bool { throw std::bad_alloc(); };
  expectFailure(probing, "bad_alloc");
  FakeFormat reading;
  reading.read = [](std::uint64_t, std::uint64_t, ScanPointSink&) { throw std::logic_error("lost"); };
  expectFailure(reading, "lost");
}

TEST_F(ReaderPlugin, ThatOpensNothingFails) {
  FakeFormat format;
  format.opensNothing = true;
  expectFailure(format, "the reader plug-in opened nothing");
}

TEST_F(ReaderPlugin, ThatGivesFewerPointsThanToldFails) {
  FakeFormat format;
  format.read = [](std::uint64_t first, std::uint64_t count, ScanPointSink& sink) {
    givePoints(first, count - 1, sink);
  };
  expectFailure(format,
                "the reader plug-in gave 99 points from point 0 on, expected the 100 that it told of");
  format.description.numPoints = UINT64_MAX;
  expectFailure(format, "the reader plug-in tells of 18446744073709551615 points, more than");
}

TEST_F(ReaderPlugin, ThatGivesMorePointsThanToldFailsEvenIfItHidesThat) {
  FakeFormat format;
  format.read = [](std::uint64_t first, std::uint64_t count, ScanPointSink& sink) {
    givePoints(first, count, sink);
    givePoints(first + count, 1, sink);
  };
  expectFailure(format, "the reader plug-in gave more than the 100 points that it was asked for");
  format.read = [](std::uint64_t first, std::uint64_t count, ScanPointSink& sink) {
    EXPECT_THROW(givePoints(first, count + 1, sink), std::runtime_error);
    try {
      givePoints(first, count, sink);
    } catch (const std::exception&) {
    }
  };
  expectFailure(format, "the reader plug-in gave more than the 100 points that it was asked for");
}

TEST_F(ReaderPlugin, ThatGivesColumnsThatDoNotFitFails) {
  const std::vector<double> position{0, 0, 0};
  FakeFormat format;
  format.description.numPoints = 1;
  const auto give = [&](const std::vector<double>& positions, const std::vector<PointFileColumn>& columns) {
    format.read = [=](std::uint64_t, std::uint64_t, ScanPointSink& sink) { sink.take(positions, columns); };
  };
  const std::vector<std::uint16_t> one{1};
  const std::vector<float> other{1};
  give(position, {});
  expectFailure(format, "gave 0 columns, expected 1");
  give(position, {other});
  expectFailure(format,
                "gave a column for intensity that does not fit: a column is not of its attribute's type");
  give(position, {PointFileColumn(Sorvik::AttributeType::UInt16, one.data(), 0)});
  expectFailure(format, "a column has too few values");
  give({0, 0}, {one});
  expectFailure(format, "gave positions that are not three numbers a point");
}

TEST_F(ReaderPlugin, ThatTellsOfAttributesThatCannotBeFails) {
  FakeFormat format;
  format.description.attributes = {{"a", Sorvik::AttributeType::Int8}, {"a", Sorvik::AttributeType::Int8}};
  expectFailure(format, "two attributes have the same name");
  format.description.attributes = {{"a", Sorvik::AttributeType::Double, 65535}};
  expectFailure(format, "tells of 524280 bytes a point, more than the 65535 that are read");
}

TEST_F(ReaderPlugin, OfAnotherVersionIsRefusedBeforeItIsAskedForAnything) {
  for (const std::uint32_t version : {0U, Sorvik::kScanReaderApiVersion + 1, UINT32_MAX}) {
    FakeFormat format;
    format.version = version;
    format.extension = "none";
    Converter converter(in(), out(), optionsFor({format}));
    EXPECT_EQ(converter.run(), ConversionState::Failed);
    EXPECT_EQ(converter.resultCode(), ConverterResult::InputCannotRead);
    EXPECT_THAT(converter.failedReason(),
                HasSubstr("has version " + std::to_string(version) + " of the interface, expected 1"));
  }
}

TEST_F(ReaderPlugin, OfNoExtensionIsRefused) {
  for (const char* const extension : {"", ".", "fake", "a.fake", ".tar.gz", "./x"}) {
    FakeFormat format;
    format.extension = extension;
    Converter converter(in(), out(), optionsFor({format}));
    EXPECT_EQ(converter.run(), ConversionState::Failed) << extension;
    EXPECT_THAT(converter.failedReason(), HasSubstr("expected one as '.xyz'")) << extension;
  }
}

TEST_F(ReaderPlugin, MustNotBeNull) {
  ConverterOptions options;
  options.readers = {nullptr};
  EXPECT_THAT([&] { Converter(in(), out(), options); },
              testing::ThrowsMessage<std::invalid_argument>("Error: reader == nullptr"));
}

TEST_F(ReaderPlugin, OfAFileThatChangesMeanwhileFails) {
  FakeFormat format;
  format.read = [this](std::uint64_t first, std::uint64_t count, ScanPointSink& sink) {
    write("scan.fake", "FAKE and something longer");
    givePoints(first, count, sink);
  };
  expectFailure(format, "the file was changed while it was read");
}

TEST_F(ReaderPlugin, IsKeptAsLongAsItsConverter) {
  auto plugin = std::make_shared<FakePlugin>(FakeFormat());
  const std::weak_ptr<FakePlugin> watched = plugin;
  {
    ConverterOptions options;
    options.readers = {std::move(plugin)};
    Converter converter(in(), out(), options);
    options.readers.clear();
    EXPECT_EQ(converter.run(), ConversionState::Completed);
    EXPECT_FALSE(watched.expired());
  }
  EXPECT_TRUE(watched.expired());
}

}  // namespace
}  // namespace Testing
