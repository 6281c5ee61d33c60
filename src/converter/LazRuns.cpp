#include "converter/LazRuns.h"

#include <algorithm>
#include <array>
#include <optional>

#include "converter/ConversionError.h"
#include "core/ByteReader.h"
#include "formats/laz/ChunkTable.h"
#include "formats/laz/LayeredDecoder.h"
#include "formats/laz/RangeDecoder.h"

namespace Converter {
namespace {

using Formats::Laz::Chunk;
using Formats::Laz::Compressor;
using Formats::Laz::LazVlr;

constexpr std::uint64_t kTablePlaceSize = 8;  // the place of the chunk table, before the first chunk

/// Finds the chunks of one file.
class RunFinder {
 public:
  RunFinder(const Core::ReadableFile& file, const Formats::LasHeader& header, const LazVlr& vlr,
            bool allowTruncated, const Core::Source& source)
      : file_(file),
        fileSize_(file.size()),
        header_(header),
        vlr_(vlr),
        allowTruncated_(allowTruncated),
        source_(source),
        begin_(header.pointDataOffset) {}

  LazRuns find() {
    found_.numPoints = header_.numPoints;
    if (header_.numPoints == 0) return std::move(found_);
    if (vlr_.compressor == Compressor::PointWise) {
      addSequence(begin_, header_.numPoints);
    } else if (const auto table = placeOfTable()) {
      addTable(*table);
    } else {
      findWithoutTable();
    }
    return std::move(found_);
  }

 private:
  [[nodiscard]] Core::Source at(std::uint64_t offset) const { return {source_.name, offset}; }

  template <class T>
  [[nodiscard]] T readNumber(std::uint64_t offset) const {
    std::array<std::byte, sizeof(T)> bytes;
    file_.read(offset, bytes);
    return Core::loadLittleEndian<T>(bytes.data());
  }

  [[nodiscard]] std::uint64_t chunksBegin() const { return begin_ + kTablePlaceSize; }

  [[nodiscard]] bool canHoldTableAt(std::uint64_t offset) const {
    return offset >= chunksBegin() && offset <= fileSize_ &&
           fileSize_ - offset >= Formats::Laz::kChunkTableHeadSize;
  }

  /// Where the chunk table is; nothing where the file was not finished or has lost its end.
  [[nodiscard]] std::optional<std::uint64_t> placeOfTable() const {
    if (fileSize_ - begin_ < kTablePlaceSize) refuseTruncated(0);
    auto place = readNumber<std::int64_t>(begin_);
    // Who could not go back to write the place here wrote it at the end.
    if (place == -1) place = readNumber<std::int64_t>(fileSize_ - kTablePlaceSize);
    if (place < 0 || !canHoldTableAt(static_cast<std::uint64_t>(place))) return std::nullopt;
    const auto table = static_cast<std::uint64_t>(place);
    // A table of zeros was made room for, and never written.
    const bool isBlank = readNumber<std::uint64_t>(table) == 0;
    return isBlank ? std::nullopt : std::optional(table);
  }

  void addTable(std::uint64_t place) {
    using namespace Formats::Laz;
    const ChunkTablePlan plan{chunksBegin(), place, vlr_.chunkSize, header_.numPoints, header_.recordLength};
    std::array<std::byte, kChunkTableHeadSize> head;
    file_.read(place, head);
    const std::uint32_t numChunks = readChunkTableHead(head, plan, at(place));
    const std::uint64_t entriesBegin = place + head.size();
    const std::uint64_t size =
        std::min(fileSize_ - entriesBegin, (numChunks + std::uint64_t{1}) * kMostBytesPerChunkEntry);
    std::vector<std::byte> entries(size + kLookahead);
    const std::span table = std::span(entries).first(size);
    file_.read(entriesBegin, table);
    std::uint64_t number = 0;
    for (const Chunk& chunk : readChunkTable(table, numChunks, plan, at(entriesBegin))) {
      addChunk(chunk, number++);
    }
  }

  void findWithoutTable() {
    found_.warnings.emplace_back(
        "There is no chunk table: whoever wrote the file did not finish it, or its end is lost. The chunks "
        "were "
        "looked for one after the other.");
    if (vlr_.compressor == Compressor::Layered) {
      walkLayeredChunks();
    } else if (vlr_.chunkSize == LazVlr::kVariableChunkSize) {
      throw Core::FormatError(at(begin_), "place of the chunk table",
                              "a place inside the file, since chunks of several sizes cannot be told apart "
                              "without the table",
                              std::to_string(readNumber<std::int64_t>(begin_)));
    } else {
      addSequence(chunksBegin(), vlr_.chunkSize);
    }
  }

  /// Layered chunks say themselves how long they are.
  void walkLayeredChunks() {
    const Formats::Laz::LayeredDecoder decoder(vlr_.items);
    std::vector<std::byte> head(decoder.headSize());
    std::uint64_t offset = chunksBegin();
    std::uint64_t numPoints = 0;
    std::uint64_t number = 0;
    while (numPoints < header_.numPoints) {
      if (offset > fileSize_ || fileSize_ - offset < head.size()) break;
      file_.read(offset, head);
      const auto layers = decoder.readHead(head, at(offset));
      const std::uint64_t size = layers.chunkSize();
      if (size > fileSize_ - offset) break;
      checkCount(layers.numPoints, header_.numPoints - numPoints, offset);
      addChunk({offset, size, layers.numPoints}, number++);
      numPoints += layers.numPoints;
      offset += size;
    }
    if (numPoints == header_.numPoints) return;
    if (!allowTruncated_) refuseTruncated(numPoints);
    found_.numPoints = numPoints;
    found_.warnings.push_back("The file is truncated: " + counts(numPoints) + "; these are read.");
  }

  void checkCount(std::uint64_t count, std::uint64_t left, std::uint64_t offset) const {
    const std::uint64_t most = std::min<std::uint64_t>(left, vlr_.chunkSize);
    if (count != 0 && count <= most) return;
    throw Core::FormatError(at(offset + header_.recordLength), "number of points in a chunk",
                            "1 to " + std::to_string(most), std::to_string(count));
  }

  /// Points from @p offset on that fill the rest of the file, or less of it.
  void addSequence(std::uint64_t offset, std::uint64_t chunkPoints) {
    std::uint64_t end = fileSize_;
    if (header_.numEvlrs != 0 && header_.evlrOffset >= offset) end = std::min(end, header_.evlrOffset);
    if (end - offset < header_.recordLength) refuseTruncated(0);
    found_.runs.push_back({offset, end - offset, header_.numPoints, chunkPoints, 0});
  }

  void addChunk(const Chunk& chunk, std::uint64_t number) {
    found_.runs.push_back({chunk.offset, chunk.size, chunk.numPoints, chunk.numPoints, number});
  }

  [[nodiscard]] std::string counts(std::uint64_t numPoints) const {
    return "the header counts " + std::to_string(header_.numPoints) + " points, the file holds " +
           std::to_string(numPoints);
  }

  [[noreturn]] void refuseTruncated(std::uint64_t numPoints) const {
    throw ConversionError(Result::InputCannotRead, std::string(source_.name) + ", byte " +
                                                       std::to_string(begin_) +
                                                       ": the file is truncated: " + counts(numPoints));
  }

  const Core::ReadableFile& file_;
  std::uint64_t fileSize_;
  const Formats::LasHeader& header_;
  const LazVlr& vlr_;
  bool allowTruncated_;
  Core::Source source_;
  std::uint64_t begin_;  // of the compressed points
  LazRuns found_;
};

}  // namespace

LazRuns findLazRuns(const Core::ReadableFile& file, const Formats::LasHeader& header, const LazVlr& vlr,
                    bool allowTruncated, const Core::Source& source) {
  return RunFinder(file, header, vlr, allowTruncated, source).find();
}

}  // namespace Converter
