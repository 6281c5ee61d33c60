// Real files whose encoder made the same choices as ours, byte for byte.

#include <gmock/gmock.h>

#include <cstring>

#include "formats/laz/PointAreaEncoder.h"
#include "support/SampleData.h"

namespace {

using Testing::readFile;

template <class T>
T at(const std::string& bytes, std::size_t offset) {
  T value;
  std::memcpy(&value, bytes.data() + offset, sizeof(T));
  return value;
}

/// Compresses the points of a LAS file of before version 1.4, and expects what the LAZ file holds.
void expectSameArea(const std::string& las, const std::string& laz, std::uint16_t numExtraBytes) {
  const std::size_t begin = at<std::uint32_t>(las, 96);
  const std::size_t size = at<std::uint32_t>(las, 107) * std::size_t{at<std::uint16_t>(las, 105)};
  Formats::Laz::PointAreaEncoder encoder(Formats::Laz::lazVlrFor(at<std::uint8_t>(las, 104), numExtraBytes));
  std::string area;
  const auto append = [&area](std::span<const std::byte> bytes) {
    area.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  };
  append(encoder.add(std::as_bytes(std::span(las)).subspan(begin, size)));
  append(encoder.finish());
  const std::size_t chunks = at<std::uint32_t>(laz, 96) + Formats::Laz::PointAreaEncoder::kTablePlaceSize;
  EXPECT_TRUE(area == laz.substr(chunks, area.size()));
}

TEST(RealLazBytes, AreThoseOfPointsWithColors) {
  SORVIK_SAMPLE_OR_SKIP(las, "las/copclib-first_20_pts.las");
  expectSameArea(readFile(las), readFile(*lasRoot / "laz/copclib-first_20_pts.laz"), 0);
}

TEST(RealLazBytes, AreThoseOfPointsWithExtraBytes) {
  SORVIK_SAMPLE_OR_SKIP(las, "las/lazperf-extrabytes.las");
  expectSameArea(readFile(las), readFile(*lasRoot / "laz/lazperf-extrabytes.laz"), 27);
}

TEST(RealLazBytes, AreThoseOfASinglePoint) {
  SORVIK_SAMPLE_OR_SKIP(las, "las/lazperf-point10-1.1.las");
  expectSameArea(readFile(las), readFile(*lasRoot / "laz/lazperf-point10-1.1.laz"), 0);
}

TEST(RealLazBytes, AreThoseOfSeveralChunks) {
  SORVIK_SAMPLE_OR_SKIP(las, "las/lazperf-autzen_trim.las");
  expectSameArea(readFile(las), readFile(*lasRoot / "laz/lazperf-autzen_trim.laz"), 0);
}

}  // namespace
