// make_viewer_scan SCAN.las TRUTH.f64: a LAS file, point format 7, with normals and extra bytes of the types
// that viewers have trouble with, and what a viewer must show of each point: a row of doubles as
// checkCloud.mjs reads them, row i for the point whose extra bytes "id" are i. The same files on every run.

#include <cmath>
#include <cstdint>
#include <cstring>
#include <exception>
#include <fstream>
#include <iostream>
#include <random>
#include <string>
#include <vector>

#include "support/LasFile.h"

namespace {

using Testing::put;

constexpr double kScale = 0.001;
constexpr std::array<double, 3> kOffset{452000, 5411000, 100};

// Half of the points lie within a metre of a square of a kilometre, so that the octree gets deep.
constexpr std::uint32_t kSpread = 30'000;
constexpr std::uint32_t kDense = 50'000;
constexpr std::int32_t kSide = 1'000'000;  // steps
constexpr std::int32_t kDenseSide = 1'000;
constexpr std::array<std::int32_t, 2> kDenseCorner{700'123, 300'456};
constexpr std::int32_t kHighest = 160'050;

// Places in a record: those of point format 7, then the extra bytes in their order.
constexpr std::size_t kIntensityAt = 12;
constexpr std::size_t kReturnsAt = 14;
constexpr std::size_t kClassAt = 16;
constexpr std::size_t kGpsTimeAt = 22;
constexpr std::size_t kColorAt = 30;
constexpr std::size_t kExtraAt = 36;
constexpr std::uint16_t kRecordLength = kExtraAt + 4 + 5 * 8 + 8;

constexpr std::uint8_t kUInt32 = 5;  // types of extra bytes
constexpr std::uint8_t kUInt64 = 7;
constexpr std::uint8_t kInt64 = 8;
constexpr std::uint8_t kDouble = 10;

struct ScanPoint {
  std::array<std::int32_t, 3> stored{};
  std::array<std::uint16_t, 3> rgb{};
  std::uint16_t intensity = 0;
  std::uint8_t classification = 0;
  double gpsTime = 0;
  std::array<double, 3> normal{};
  double deviation = 2.5;   // the same for all: no range to take shares of
  std::uint64_t stamp = 0;  // too large for a double
  std::int64_t echo = 0;
};

std::int32_t height(std::int32_t x, std::int32_t y) {
  return static_cast<std::int32_t>(40'000 * (std::sin(x * 1e-5) + std::cos(y * 2e-5)) + 80'000);
}

ScanPoint scanPoint(std::uint32_t id, std::mt19937& random) {
  const bool dense = id >= kSpread;
  ScanPoint point;
  for (std::size_t axis = 0; axis < 2; ++axis) {
    const auto side = static_cast<std::uint32_t>(dense ? kDenseSide : kSide);
    point.stored[axis] = static_cast<std::int32_t>(random() % side) + (dense ? kDenseCorner[axis] : 0);
  }
  point.stored[2] = height(point.stored[0], point.stored[1]) + static_cast<std::int32_t>(random() % 50);
  for (std::uint16_t& channel : point.rgb) channel = static_cast<std::uint16_t>(256 + random() % 65280);
  point.intensity = static_cast<std::uint16_t>(random());
  point.classification = static_cast<std::uint8_t>(random() % 200);
  point.gpsTime = 3.1e8 + id * 1.25e-5;
  const double slope = 0.4 * std::cos(point.stored[0] * 1e-5);
  const double length = std::hypot(slope, 1.0);
  point.normal = {-slope / length, 0, 1 / length};
  point.stamp = (std::uint64_t{1} << 63U) + std::uint64_t{id} * 4'294'967'311U;
  point.echo = std::int64_t{id} * 1'000'003 - 40'000'000'000;
  return point;
}

std::string lasRecord(const ScanPoint& point, std::uint32_t id) {
  std::string record(kRecordLength, '\0');
  for (std::size_t k = 0; k < 3; ++k) {
    put(record, 4 * k, point.stored[k]);
    put(record, kColorAt + 2 * k, point.rgb[k]);
    put(record, kExtraAt + 4 + 8 * k, point.normal[k]);
  }
  put(record, kIntensityAt, point.intensity);
  put(record, kReturnsAt, std::uint8_t{0x11});  // the only return
  put(record, kClassAt, point.classification);
  put(record, kGpsTimeAt, point.gpsTime);
  put(record, kExtraAt, id);
  put(record, kExtraAt + 28, point.deviation);
  put(record, kExtraAt + 36, point.stamp);
  put(record, kExtraAt + 44, point.echo);
  return record;
}

void appendTruth(std::vector<double>& rows, const ScanPoint& point) {
  for (std::size_t k = 0; k < 3; ++k) rows.push_back(point.stored[k] * kScale + kOffset[k]);
  rows.insert(rows.end(), point.rgb.begin(), point.rgb.end());
  rows.insert(rows.end(), {static_cast<double>(point.intensity), static_cast<double>(point.classification),
                           point.gpsTime});
  rows.insert(rows.end(), point.normal.begin(), point.normal.end());
  rows.insert(rows.end(), {point.deviation, static_cast<double>(point.stamp & UINT32_MAX),
                           static_cast<double>(point.stamp >> 32U), static_cast<double>(point.echo)});
}

Testing::LasFile emptyScan() {
  using Testing::extraBytesDescription;
  Testing::LasFile scan(7);
  scan.recordLength(kRecordLength).scale({kScale, kScale, kScale}).offset(kOffset).globalEncoding(1);
  scan.vlr("LASF_Spec", 4,
           extraBytesDescription(kUInt32, "id") + extraBytesDescription(kDouble, "NormalX") +
               extraBytesDescription(kDouble, "NormalY") + extraBytesDescription(kDouble, "NormalZ") +
               extraBytesDescription(kDouble, "deviation") + extraBytesDescription(kUInt64, "stamp") +
               extraBytesDescription(kInt64, "echo"));
  constexpr std::array<std::int32_t, 3> kLargest{kSide, kSide, kHighest};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    scan.patch(179 + 16 * axis, kLargest[axis] * kScale + kOffset[axis])
        .patch(187 + 16 * axis, kOffset[axis]);
  }
  return scan;
}

void write(const char* path, const char* bytes, std::size_t size) {
  std::ofstream file(path, std::ios::binary);
  if (!file.write(bytes, static_cast<std::streamsize>(size)).flush()) {
    throw std::runtime_error("cannot write " + std::string(path));
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc != 3) throw std::runtime_error("usage: make_viewer_scan SCAN.las TRUTH.f64");
    std::mt19937 random(20);
    Testing::LasFile scan = emptyScan();
    std::vector<double> truth;
    for (std::uint32_t id = 0; id < kSpread + kDense; ++id) {
      const ScanPoint point = scanPoint(id, random);
      scan.point(lasRecord(point, id));
      appendTruth(truth, point);
    }
    const std::string bytes = scan.bytes();
    write(argv[1], bytes.data(), bytes.size());
    write(argv[2], reinterpret_cast<const char*>(truth.data()), truth.size() * sizeof(double));
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "make_viewer_scan: " << error.what() << '\n';
    return 1;
  }
}
