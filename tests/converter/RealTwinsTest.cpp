// Real LAZ files whose points somebody has stored uncompressed as well: the records that they are decoded to,
// held against those of the LAS file byte for byte.

#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>
#include <optional>

#include "converter/LazRecords.h"
#include "converter/LazRuns.h"
#include "core/ByteReader.h"
#include "core/FileSystem.h"
#include "formats/LasHeader.h"
#include "formats/LasVlr.h"
#include "formats/laz/LazVlr.h"
#include "support/SampleData.h"

namespace {

namespace Laz = Formats::Laz;

struct Twins {
  const char* las;
  const char* laz;
};

constexpr Twins kTwins[] = {{"copclib-first_20_pts.las", "copclib-first_20_pts.laz"},
                            {"derived-lastools-fusa.las", "lastools-fusa.laz"},
                            {"laspy-1_4_w_evlr.las", "laspy-1_4_w_evlr.laz"},
                            {"lazperf-autzen_trim.las", "lazperf-autzen_trim.laz"},
                            {"lazperf-extrabytes.las", "lazperf-extrabytes.laz"},
                            {"lazperf-point-color-time.las", "lazperf-point-color-time.laz"},
                            {"lazperf-point-color.las", "lazperf-point-color.laz"},
                            {"lazperf-point10-1.1.las", "lazperf-point10-1.1.laz"},
                            {"lazperf-point10.las", "lazperf-point10.laz"},
                            {"loadersgl-pdrf10-1.4.las", "loadersgl-pdrf10-1.4.laz"},
                            {"loadersgl-pdrf4-1.3.las", "loadersgl-pdrf4-1.3.laz"},
                            {"loadersgl-pdrf6-1.4.las", "loadersgl-pdrf6-1.4.laz"},
                            {"loadersgl-pdrf8-1.4.las", "loadersgl-pdrf8-1.4.laz"},
                            {"pdal-1.2-with-color.las", "pdal-laszip-generated.laz"}};

/// The records of a LAS file, by the fields of its header alone.
std::string plainRecords(const std::string& las) {
  const auto* const header = reinterpret_cast<const std::byte*>(las.data());
  const std::size_t length = Core::loadLittleEndian<std::uint16_t>(header + 105);
  const std::size_t count = las[25] < 4 ? Core::loadLittleEndian<std::uint32_t>(header + 107)
                                        : Core::loadLittleEndian<std::uint64_t>(header + 247);
  return las.substr(Core::loadLittleEndian<std::uint32_t>(header + 96), count * length);
}

struct Decoded {
  std::size_t recordLength = 0;
  std::size_t count = 0;
  std::string records;
};

Laz::LazVlr compressionOf(const Core::ReadableFile& file, const Formats::LasHeader& header) {
  std::vector<std::string> warnings;
  const auto fetch = [&](std::uint64_t offset, std::span<std::byte> out) { file.read(offset, out); };
  for (const Formats::LasVlr& record : Formats::listLasVlrs(
           {Formats::LasVlrRegion::Kind::Vlr, header.headerSize, header.pointDataOffset, header.numVlrs},
           fetch, warnings)) {
    if (!record.is(Laz::kVlrUserId, Laz::kVlrRecordId)) continue;
    std::vector<std::byte> data(record.dataSize);
    file.read(record.dataOffset, data);
    return Laz::readLazVlr(data, {"compression"});
  }
  throw std::runtime_error("no record of the compression");
}

/// All records of a LAZ file, in its order.
Decoded decodedRecords(const std::filesystem::path& laz) {
  Core::DiskFileSystem files(Core::DiskFileSystem::Sync::No);
  const auto file = files.open(laz);
  std::vector<std::byte> bytes(std::min<std::uint64_t>(file->size(), Formats::kLongestLasHeader));
  file->read(0, bytes);
  const std::string name = laz.string();
  const Core::Source source{name};
  const Formats::LasHeader header = Formats::checkLasHeader(Formats::readLasRawHeader(bytes, source), source);
  const Laz::LazVlr compression = compressionOf(*file, header);
  const Converter::LazRecords records(*file, name, compression,
                                      Converter::findLazRuns(*file, header, compression, false, source).runs,
                                      false);
  Decoded decoded{compression.recordLength(), 0, {}};
  for (std::uint64_t block = 0; block < records.numBlocks(); ++block) {
    decoded.count +=
        records.read(block, Converter::LasRecords::Fields::All,
                     [&](std::size_t /*first*/, std::span<const std::byte> part) {
                       decoded.records.append(reinterpret_cast<const char*>(part.data()), part.size());
                     });
  }
  return decoded;
}

class RealTwins : public testing::TestWithParam<Twins> {};

std::string testName(const testing::TestParamInfo<Twins>& info) {
  std::string name = info.param.laz;
  std::replace_if(
      name.begin(), name.end(), [](unsigned char letter) { return std::isalnum(letter) == 0; }, '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Samples, RealTwins, testing::ValuesIn(kTwins), testName);

TEST_P(RealTwins, HoldTheSameRecordsByteForByteInTheSameOrder) {
  SORVIK_SAMPLE_OR_SKIP(samples, ".");
  const Decoded decoded = decodedRecords(samples / "laz" / GetParam().laz);
  const std::string expected = plainRecords(Testing::readFile(samples / "las" / GetParam().las));
  ASSERT_GT(decoded.count, 0U);
  ASSERT_EQ(decoded.records.size(), expected.size());
  ASSERT_EQ(decoded.records.size(), decoded.count * decoded.recordLength);
  const std::size_t length = decoded.recordLength;
  for (std::size_t i = 0; i < decoded.count; ++i) {
    ASSERT_EQ(decoded.records.compare(i * length, length, expected, i * length, length), 0) << "record " << i;
  }
}

}  // namespace
