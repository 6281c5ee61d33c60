// write_brotli_streams FILE CLOUD_FOLDER...: streams of the column encoder and what they stand for, as
// checkStreams.mjs reads them: columns that are hard to encode, and all nodes of brotli octrees.

#include <cstdint>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include "brotli/HardColumns.h"
#include "core/ByteReader.h"
#include "support/SampleData.h"

namespace {

using Testing::Bytes;
using Testing::Columns;

constexpr std::size_t kRecordSize = 22;  // of hierarchy.bin: type, mask, points u32, offset u64, size u64
constexpr std::size_t kLargestNode = std::size_t{1} << 28U;

void writePart(std::ofstream& file, const char* bytes, std::size_t size) {
  const auto length = static_cast<std::uint32_t>(size);
  file.write(reinterpret_cast<const char*>(&length), sizeof(length));
  file.write(bytes, static_cast<std::streamsize>(size));
}

void writeStream(std::ofstream& file, const std::string& name, std::span<const std::byte> stream,
                 const Bytes& expected) {
  writePart(file, name.data(), name.size());
  writePart(file, reinterpret_cast<const char*>(stream.data()), stream.size());
  writePart(file, reinterpret_cast<const char*>(expected.data()), expected.size());
}

void writeColumns(std::ofstream& file, const std::string& name, const Columns& columns) {
  writeStream(file, name, Testing::encoded(columns), columns.data);
}

/// All nodes with points; no record is there that nothing reaches.
void writeNodes(std::ofstream& file, const std::filesystem::path& folder) {
  constexpr char kProxy = 2;
  const std::string hierarchy = Testing::readFile(folder / "hierarchy.bin");
  const std::string octree = Testing::readFile(folder / "octree.bin");
  const std::span<const std::byte> records = std::as_bytes(std::span(hierarchy));
  for (std::size_t at = 0; at + kRecordSize <= records.size(); at += kRecordSize) {
    const auto offset = Core::loadLittleEndian<std::uint64_t>(records.data() + at + 6);
    const auto size = Core::loadLittleEndian<std::uint64_t>(records.data() + at + 14);
    if (hierarchy[at] == kProxy || size == 0) continue;
    const auto stream = std::as_bytes(std::span(octree)).subspan(offset, size);
    writeStream(file, folder.filename().string() + ", record " + std::to_string(at / kRecordSize), stream,
                Testing::decoded(stream, kLargestNode));
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc < 2) throw std::runtime_error("usage: write_brotli_streams FILE CLOUD_FOLDER...");
    std::ofstream file(argv[1], std::ios::binary);
    for (const Testing::HardColumns& columns : Testing::hardColumns()) {
      writeColumns(file, columns.name, columns.make());
    }
    for (std::size_t stride = 1; stride <= Testing::kWidestTried; ++stride) {
      writeColumns(file, "stride " + std::to_string(stride), Testing::columnOfStride(stride));
    }
    for (int i = 2; i < argc; ++i) writeNodes(file, argv[i]);
    if (!file.flush()) throw std::runtime_error("cannot write " + std::string(argv[1]));
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "write_brotli_streams: " << error.what() << '\n';
    return 1;
  }
}
