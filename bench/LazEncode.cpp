// laz_encode SCAN.las ROUNDS: compresses the records of a LAS file of point format 0 to 3 or 6 to 8 so many
// times, chunk by chunk on one thread, after once without, and prints a line for each: nanoseconds of
// processor time a point, and bytes a point.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "Rounds.h"
#include "formats/LasHeader.h"
#include "formats/laz/ChunkEncoder.h"

namespace {

/// The point records of a scan.
struct Scan {
  Formats::Laz::LazVlr vlr;
  std::vector<std::byte> records;
  std::uint64_t numPoints = 0;

  explicit Scan(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::vector<std::byte> head(Formats::kLongestLasHeader);
    if (!file.read(reinterpret_cast<char*>(head.data()), static_cast<std::streamsize>(head.size()))) {
      throw std::runtime_error("cannot read " + path);
    }
    const auto header = checkLasHeader(Formats::readLasRawHeader(head, {path}), {path});
    const std::size_t extraBytes = header.recordLength - Formats::lasRecordSize(header.pointFormat);
    vlr = Formats::Laz::lazVlrFor(header.pointFormat, static_cast<std::uint16_t>(extraBytes));
    numPoints = header.numPoints;
    records.resize(numPoints * header.recordLength);
    file.seekg(static_cast<std::streamoff>(header.pointDataOffset));
    if (!file.read(reinterpret_cast<char*>(records.data()), static_cast<std::streamsize>(records.size()))) {
      throw std::runtime_error(path + " ends before its last point");
    }
  }
};

std::size_t encode(const Scan& scan, Formats::Laz::ChunkEncoder& encoder) {
  const std::size_t chunkLength = scan.vlr.chunkSize * scan.vlr.recordLength();
  std::size_t size = 0;
  for (std::size_t first = 0; first < scan.records.size(); first += chunkLength) {
    const std::size_t length = std::min(chunkLength, scan.records.size() - first);
    size += encoder.encode(std::span(scan.records).subspan(first, length)).size();
  }
  return size;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc != 3) throw std::runtime_error("usage: laz_encode SCAN.las ROUNDS");
    const Scan scan(argv[1]);
    const auto points = static_cast<double>(std::max<std::uint64_t>(1, scan.numPoints));
    const auto encoder = makeChunkEncoder(scan.vlr);
    (void)encode(scan, *encoder);
    for (int round = std::atoi(argv[2]); round > 0; --round) {
      const double begin = Bench::processorSeconds();
      const std::size_t size = encode(scan, *encoder);
      std::printf("%.1f %.4f\n", (Bench::processorSeconds() - begin) * 1e9 / points,
                  static_cast<double>(size) / points);
    }
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "laz_encode: %s\n", error.what());
    return 1;
  }
}
