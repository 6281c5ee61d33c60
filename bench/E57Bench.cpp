// Reading the points of E57 files on one thread, against the least that any reader does that looks at the
// checksums: copying the same pages out of the file and checking their CRC-32C. The files stand in memory.
//   e57_bench [FOLDER]: also writes the files to FOLDER, so that other readers can be timed.
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <utility>

#include "Rounds.h"
#include "converter/E57ScanReader.h"
#include "formats/e57/Pages.h"
#include "support/E57File.h"
#include "support/MemoryFileSystem.h"

namespace {

using Converter::ScanReader;
using Testing::E57Field;
using Testing::E57Scan;

constexpr std::size_t kPoints = 2'000'000;
constexpr int kRounds = 15;
constexpr std::size_t kPagesAtATime = 64;
constexpr const char* kFile = "bench.e57";

std::vector<std::int64_t> integers(std::int64_t minimum, std::int64_t maximum, unsigned seed) {
  std::mt19937_64 random(seed);
  std::uniform_int_distribution<std::int64_t> any(minimum, maximum);
  std::vector<std::int64_t> values(kPoints);
  for (std::int64_t& value : values) value = any(random);
  return values;
}

void addColors(E57Scan& scan) {
  unsigned seed = 10;
  for (const char* const name : {"colorRed", "colorGreen", "colorBlue"}) {
    scan.fields.push_back(Testing::integerField(name, 0, 255, integers(0, 255, ++seed)));
  }
}

/// Coordinates of single precision and colours: 15 bytes a point.
E57Scan floatsWithColor() {
  E57Scan scan;
  unsigned seed = 0;
  for (const char* const name : {"cartesianX", "cartesianY", "cartesianZ"}) {
    std::vector<float> values;
    for (const std::int64_t value : integers(-500'000, 500'000, ++seed)) {
      values.push_back(static_cast<float>(value) * 1e-4F);
    }
    scan.fields.push_back(Testing::singleField(name, values));
  }
  addColors(scan);
  return scan;
}

E57Scan scaledIntegers(unsigned bits) {
  E57Scan scan;
  const std::int64_t half = std::int64_t{1} << (bits - 1);
  unsigned seed = 0;
  for (const char* const name : {"cartesianX", "cartesianY", "cartesianZ"}) {
    scan.fields.push_back(
        Testing::scaledField(name, -half, half - 1, R"(scale="0.0001")", integers(-half, half - 1, ++seed)));
  }
  return scan;
}

/// Reads all points with all of their attributes, as a conversion does; gives a number that depends on them.
double readPoints(const ScanReader& scan) {
  std::vector<std::size_t> offsets;
  std::size_t stride = 0;
  for (const Math::Attribute& attribute : scan.info().attributes) {
    offsets.push_back(stride);
    stride += attribute.size();
  }
  std::vector<std::byte> records(ScanReader::kMostPointsPerBlock * stride);
  Converter::BlockCoordinates coordinates;
  double sum = 0;
  for (std::uint64_t block = 0; block < scan.numBlocks(); ++block) {
    const std::size_t count = scan.readBlock(block, {records.data(), stride, offsets}, coordinates);
    sum += coordinates.world[3 * count - 1] + static_cast<double>(records[0]);
  }
  return sum;
}

std::size_t copyAndCheck(const Core::ReadableFile& file) {
  using Formats::E57::kPageSize;
  std::vector<std::byte> pages(kPagesAtATime * kPageSize);
  const std::uint64_t numPages = file.size() / kPageSize;
  for (std::uint64_t page = 0; page < numPages; page += kPagesAtATime) {
    const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(kPagesAtATime, numPages - page));
    const std::span<std::byte> bytes(pages.data(), count * kPageSize);
    file.read(page * kPageSize, bytes);
    Formats::E57::verifyPages(bytes, page, kFile);
  }
  return pages.size();
}

/// Whether the reader gives the first field's values, decoded here in the plainest way.
bool isRight(const ScanReader& scan, const E57Scan& truth) {
  const std::vector<std::size_t> unwanted(scan.info().attributes.size(), Converter::RecordTarget::kUnwanted);
  Converter::BlockCoordinates coordinates;
  std::size_t record = 0;
  const E57Field& field = truth.fields.front();
  const bool isFloat = field.attributes.find("Float") != std::string::npos;
  const auto half = static_cast<double>(std::uint64_t{1} << (field.bits - 1));
  for (std::uint64_t block = 0; block < scan.numBlocks(); ++block) {
    const std::size_t count = scan.readBlock(block, {nullptr, 0, unwanted}, coordinates);
    for (std::size_t i = 0; i < count; ++i, ++record) {
      float single = 0;
      std::memcpy(&single, &field.stored[record], sizeof single);
      const double expected = isFloat ? single : (static_cast<double>(field.stored[record]) - half) * 0.0001;
      if (coordinates.world[3 * i] != expected) return false;
    }
  }
  return record == kPoints;
}

/// With what other readers want to see beside the points.
std::string completeFile(E57Scan scan) {
  scan.elements = R"(<guid type="String">{bench}</guid>)";
  return Testing::E57File()
      .rootElements(R"(<formatName type="String">ASTM E57 3D Imaging Data File</formatName>)"
                    R"(<guid type="String">{file}</guid><versionMajor type="Integer">1</versionMajor>)"
                    R"(<versionMinor type="Integer">0</versionMinor>)")
      .scan(std::move(scan))
      .bytes();
}

/// @param most  times the baseline.
void run(const char* what, const E57Scan& content, double most, const std::filesystem::path& folder) {
  Testing::MemoryFileSystem files;
  const std::string bytes = completeFile(content);
  files.put(kFile, bytes);
  if (!folder.empty()) {
    std::ofstream(folder / (std::string(what) + ".e57"), std::ios::binary)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  }
  const std::unique_ptr<Core::ReadableFile> file = files.open(kFile);
  const std::unique_ptr<ScanReader> scan = Converter::openE57(files, kFile);
  if (!isRight(*scan, content)) {
    std::printf("%s: WRONG VALUES\n", what);
    return;
  }
  const Bench::Medians taken = Bench::alternate(
      kRounds, Bench::processorSeconds, [&] { return readPoints(*scan); },
      [&] { return copyAndCheck(*file); });
  Bench::report(what, "copy and check", taken, kPoints);
  std::printf("%-44s %.1f million points a second, %.2f times copying and checking (at most %.0f wanted)\n",
              "", static_cast<double>(kPoints) / taken.ours * 1e-6, taken.ours / taken.baseline, most);
}

}  // namespace

int main(int argc, char** argv) {
  const std::filesystem::path folder = argc > 1 ? argv[1] : "";
  constexpr double kMostForFloats = 9;
  constexpr double kMostForIntegers = 14;
  run("single precision with colours", floatsWithColor(), kMostForFloats, folder);
  run("scaled integers of 19 bits", scaledIntegers(19), kMostForIntegers, folder);
  run("scaled integers of 24 bits", scaledIntegers(24), kMostForIntegers, folder);
}
