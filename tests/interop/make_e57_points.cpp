// make_e57_points FOLDER [FILE...]: writes E57 files that no sample has to FOLDER, and beside them, as
// NAME.points, what the reader makes of each of them and of the named ones: x, y, z as doubles, the scan's
// number and red, green and blue of 16 bits, point after point.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <vector>

#include "converter/E57ScanReader.h"
#include "support/E57File.h"

namespace {

namespace fs = std::filesystem;

using Testing::E57File;
using Testing::E57Scan;

constexpr std::size_t kPoints = 20'000;

std::vector<std::int64_t> anyOf(std::int64_t minimum, std::int64_t maximum, unsigned seed) {
  std::mt19937_64 random(seed);
  std::uniform_int_distribution<std::int64_t> any(minimum, maximum);
  std::vector<std::int64_t> values(kPoints);
  for (std::int64_t& value : values) value = any(random);
  return values;
}

std::vector<double> reals(double scale, double offset, unsigned seed) {
  std::vector<double> values;
  for (const std::int64_t value : anyOf(0, 1'000'000'000, seed)) {
    values.push_back(static_cast<double>(value) * 1e-9 * scale + offset);
  }
  return values;
}

std::string identified(const std::string& guid) {
  return R"(<guid type="String">)" + guid + R"(</guid><name type="String">)" + guid + "</name>";
}

/// Scaled integers of a width, turned and moved, with colours and packets that cut the streams anywhere.
E57Scan scaledIntegers(unsigned bits) {
  const std::int64_t most = (std::int64_t{1} << bits) - 1;
  E57Scan scan;
  for (const char* const name : {"cartesianX", "cartesianY", "cartesianZ"}) {
    scan.fields.push_back(
        Testing::scaledField(name, -1, most - 1, R"(scale="0.001" offset="12.5")",
                             anyOf(-1, most - 1, static_cast<unsigned>(scan.fields.size()))));
  }
  for (const char* const name : {"colorRed", "colorGreen", "colorBlue"}) {
    scan.fields.push_back(
        Testing::integerField(name, 0, 255, anyOf(0, 255, static_cast<unsigned>(scan.fields.size()))));
  }
  scan.elements = identified("{s" + std::to_string(bits) + "}") +
                  Testing::e57Pose("0.8 0.1 -0.2 0.55", "1000.5 -2000.25 30.125");
  scan.pieceSize = [](std::size_t packet, std::size_t stream) {
    return 1000 + (packet * 7 + stream * 13) % 5000;
  };
  return scan;
}

E57Scan spherical() {
  E57Scan scan;
  scan.fields = {Testing::doubleField("sphericalRange", reals(50, 0.5, 1)),
                 Testing::doubleField("sphericalAzimuth", reals(6.28, -3.14, 2)),
                 Testing::doubleField("sphericalElevation", reals(3.14, -1.57, 3)),
                 Testing::integerField("sphericalInvalidState", 0, 2, anyOf(0, 2, 4))};
  scan.elements = identified("{spherical}") + Testing::e57Pose("0.5 -0.5 0.5 0.5", "1 2 3");
  return scan;
}

E57Scan floats() {
  E57Scan scan;
  for (const char* const name : {"cartesianX", "cartesianY", "cartesianZ"}) {
    std::vector<float> values;
    for (const double value : reals(200, -100, static_cast<unsigned>(scan.fields.size()))) {
      values.push_back(static_cast<float>(value));
    }
    scan.fields.push_back(Testing::singleField(name, values));
  }
  scan.fields.push_back(Testing::integerField("cartesianInvalidState", 0, 1, anyOf(0, 1, 9)));
  scan.elements = identified("{floats}");
  return scan;
}

E57File complete(const std::vector<E57Scan>& scans) {
  E57File file;
  file.rootElements(
      R"(<formatName type="String">ASTM E57 3D Imaging Data File</formatName><guid type="String">{f}</guid>)"
      R"(<versionMajor type="Integer">1</versionMajor><versionMinor type="Integer">0</versionMinor>)");
  for (const E57Scan& scan : scans) file.scan(scan);
  return file;
}

void write(const fs::path& path, const E57File& file) {
  const std::string bytes = file.bytes();
  std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

void dump(const fs::path& e57, const fs::path& out) {
  constexpr std::size_t kStride = 10;
  Core::DiskFileSystem files(Core::DiskFileSystem::Sync::No);
  const auto scan = Converter::openE57(files, e57);
  std::vector<std::size_t> offsets;
  for (const Math::Attribute& attribute : scan->info().attributes) {
    offsets.push_back(attribute.name == "ScanIndex" ? 0
                      : attribute.name == "rgb"     ? 4
                                                    : Converter::RecordTarget::kUnwanted);
  }
  std::ofstream points(out, std::ios::binary);
  Converter::BlockCoordinates coordinates;
  for (std::uint64_t block = 0; block < scan->numBlocks(); ++block) {
    std::vector<std::byte> records(scan->mostPointsOf(block) * kStride);
    const std::size_t count = scan->readBlock(block, {records.data(), kStride, offsets}, coordinates);
    for (std::size_t p = 0; p < count; ++p) {
      points.write(reinterpret_cast<const char*>(coordinates.world.data() + 3 * p), 3 * sizeof(double));
      points.write(reinterpret_cast<const char*>(records.data() + p * kStride), kStride);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  const fs::path folder = arguments.at(0);
  std::vector<E57Scan> widths;
  for (const unsigned bits : {1U, 7U, 8U, 13U, 19U, 24U, 31U, 33U, 48U, 53U})
    widths.push_back(scaledIntegers(bits));
  write(folder / "made-widths.e57", complete(widths));
  write(folder / "made-spherical.e57", complete({spherical()}));
  write(folder / "made-several.e57", complete({floats(), scaledIntegers(20), spherical()}));
  std::vector<fs::path> files(arguments.begin() + 1, arguments.end());
  for (const char* const name : {"made-widths", "made-spherical", "made-several"}) {
    files.push_back(folder / (std::string(name) + ".e57"));
  }
  for (const fs::path& file : files) dump(file, folder / (file.stem().string() + ".points"));
}
