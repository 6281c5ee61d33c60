// make_laz_pairs FOLDER: writes pairs of files of the same points, NAME.las and NAME.laz, for every point
// format that can be compressed: as a scanner makes them, over the border of a chunk, and of any bytes.

#include <fstream>
#include <iostream>
#include <span>
#include <stdexcept>

#include "formats/laz/PointAreaEncoder.h"
#include "support/LasFile.h"
#include "support/LasRecords.h"

namespace {

using Formats::Laz::LazVlr;
using Formats::Laz::PointAreaEncoder;
using Testing::LasFile;
using Testing::LasRecordKind;

constexpr std::uint8_t kUInt8 = 1;  // of extra bytes
constexpr std::size_t kScannedPoints = 50'100;
constexpr std::size_t kRandomPoints = 3'000;

void append(std::string& out, std::span<const std::byte> bytes) {
  out.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

LasFile emptyFile(const LasRecordKind& kind) {
  LasFile file(kind.pointFormat);
  file.recordLength(static_cast<std::uint16_t>(kind.length()));
  std::string descriptions;
  for (std::size_t i = 0; i < kind.numExtraBytes; ++i) {
    descriptions += Testing::extraBytesDescription(kUInt8, "extra " + std::to_string(i));
  }
  if (!descriptions.empty()) file.vlr("LASF_Spec", 4, descriptions);
  return file;
}

std::string lasBytes(const LasRecordKind& kind, const std::string& records) {
  return emptyFile(kind).statedPoints(records.size() / kind.length()).tail(records).bytes();
}

std::string lazBytes(const LasRecordKind& kind, const std::string& records) {
  const LazVlr vlr = Formats::Laz::lazVlrFor(kind.pointFormat, kind.numExtraBytes);
  std::string description;
  append(description, Formats::Laz::writeLazVlr(vlr));
  LasFile file = emptyFile(kind);
  file.vlr(std::string(Formats::Laz::kVlrUserId), Formats::Laz::kVlrRecordId, description);
  file.statedPoints(records.size() / kind.length());
  file.patch(104, static_cast<std::uint8_t>(kind.pointFormat | 0x80U));

  PointAreaEncoder encoder(vlr);
  std::string chunks;
  append(chunks, encoder.add(std::as_bytes(std::span(records))));
  append(chunks, encoder.finish());
  std::string area;
  Testing::put(area, 0, file.bytes().size() + PointAreaEncoder::kTablePlaceSize + encoder.chunkBytes());
  return file.tail(area + chunks).bytes();
}

void write(const std::string& path, const std::string& bytes) {
  std::ofstream file(path, std::ios::binary);
  if (!file.write(bytes.data(), static_cast<std::streamsize>(bytes.size())).flush()) {
    throw std::runtime_error("cannot write " + path);
  }
}

void writePair(const std::string& path, const LasRecordKind& kind, const std::string& records) {
  write(path + ".las", lasBytes(kind, records));
  write(path + ".laz", lazBytes(kind, records));
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc != 2) throw std::runtime_error("usage: make_laz_pairs FOLDER");
    for (const int format : {0, 1, 2, 3, 6, 7, 8}) {
      const std::string path = std::string(argv[1]) + "/format" + std::to_string(format);
      const LasRecordKind plain{static_cast<std::uint8_t>(format), 0};
      const LasRecordKind extended{static_cast<std::uint8_t>(format), 5};
      writePair(path + "-scanned", plain, scannedRecords(plain, kScannedPoints, 1));
      writePair(path + "-scanned-extra", extended, scannedRecords(extended, kScannedPoints, 2));
      writePair(path + "-random", plain, randomRecords(plain, kRandomPoints, 3));
      writePair(path + "-random-extra", extended, randomRecords(extended, kRandomPoints, 4));
      for (const std::size_t few : {1, 2}) {
        writePair(path + "-" + std::to_string(few), extended, scannedRecords(extended, few, 5));
      }
    }
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "make_laz_pairs: " << error.what() << '\n';
    return 1;
  }
}
