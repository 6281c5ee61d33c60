#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "formats/laz/LazVlr.h"
#include "support/LasFile.h"

namespace Testing {

/// A small LAZ file, valid unless told otherwise: records of point format 0 to 3 as items of version 1 in
/// chunks, or of format 6 in layered chunks (see LazEncoder.h for what may differ in these). Each call
/// changes one thing.
class LazFile {
 public:
  enum class Table { BeforeTheEnd, PlaceAtTheEnd, None, Blank };

  LazFile(std::uint8_t pointFormat, std::vector<std::string> records);

  LazFile& chunkSize(std::uint32_t points);
  /// Chunks of these sizes, which the chunk table counts.
  LazFile& variableChunks(std::vector<std::uint32_t> counts);
  /// One stream without chunks.
  LazFile& withoutChunks();
  LazFile& table(Table table);
  LazFile& statedPoints(std::uint64_t count);
  /// Changes the record that describes the compression.
  LazFile& vlr(const std::function<void(Formats::Laz::LazVlr&)>& change);
  LazFile& byteVersion(std::uint16_t version);

  [[nodiscard]] std::string bytes() const;
  /// The same points uncompressed.
  [[nodiscard]] std::string lasBytes() const;
  /// The compressed points alone, in their chunks.
  [[nodiscard]] std::vector<std::string> chunks() const;
  [[nodiscard]] const Formats::Laz::LazVlr& vlr() const { return vlr_; }
  /// Where the compressed points begin in bytes().
  [[nodiscard]] std::size_t pointOffset() const;

 private:
  [[nodiscard]] LasFile head() const;

  std::uint8_t pointFormat_;
  std::vector<std::string> records_;
  Formats::Laz::LazVlr vlr_;
  std::vector<std::uint32_t> counts_;  // of variable chunks
  Table table_ = Table::BeforeTheEnd;
  std::uint64_t statedPoints_;
};

/// @p count records of some format whose fields all change now and then, the same for the same arguments.
[[nodiscard]] std::vector<std::string> variedRecords(std::uint8_t pointFormat, std::size_t recordLength,
                                                     std::size_t count);

/// The same of format 6, in which only what LazFile can write differs.
[[nodiscard]] std::vector<std::string> layeredRecords(std::size_t numExtraBytes, std::size_t count,
                                                      unsigned numChannels);

}  // namespace Testing
