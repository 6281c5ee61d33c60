#include "support/LazFile.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <random>

#include "support/LazEncoder.h"

namespace Testing {
namespace {

using Formats::Laz::Compressor;
using Formats::Laz::LazVlr;

constexpr std::array<std::uint16_t, 7> kRecordLengths{20, 28, 26, 34, 57, 63, 30};

std::string asText(const std::vector<std::byte>& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

LazFile::LazFile(std::uint8_t pointFormat, std::vector<std::string> records)
    : pointFormat_(pointFormat), records_(std::move(records)), statedPoints_(records_.size()) {
  const std::size_t length = records_.empty() ? kRecordLengths.at(pointFormat) : records_.front().size();
  vlr_ = Formats::Laz::lazVlrFor(pointFormat,
                                 static_cast<std::uint16_t>(length - kRecordLengths.at(pointFormat)));
  if (vlr_.compressor == Compressor::Layered) return;
  for (auto& item : vlr_.items) item.version = 1;
}

LazFile& LazFile::chunkSize(std::uint32_t points) {
  vlr_.chunkSize = points;
  return *this;
}

LazFile& LazFile::variableChunks(std::vector<std::uint32_t> counts) {
  vlr_.chunkSize = LazVlr::kVariableChunkSize;
  counts_ = std::move(counts);
  return *this;
}

LazFile& LazFile::withoutChunks() {
  vlr_.compressor = Compressor::PointWise;
  return *this;
}

LazFile& LazFile::table(Table table) {
  table_ = table;
  return *this;
}

LazFile& LazFile::statedPoints(std::uint64_t count) {
  statedPoints_ = count;
  return *this;
}

LazFile& LazFile::vlr(const std::function<void(LazVlr&)>& change) {
  change(vlr_);
  return *this;
}

LazFile& LazFile::byteVersion(std::uint16_t version) {
  vlr_.items.back().version = version;
  return *this;
}

std::vector<std::string> LazFile::chunks() const {
  std::vector<std::string> chunks;
  for (std::size_t first = 0; first < records_.size();) {
    std::size_t count = vlr_.compressor == Compressor::PointWise ? records_.size() : vlr_.chunkSize;
    if (!counts_.empty()) count = counts_.at(chunks.size());
    count = std::min(count, records_.size() - first);
    const auto begin = records_.begin() + static_cast<std::ptrdiff_t>(first);
    const std::vector<std::string> some(begin, begin + static_cast<std::ptrdiff_t>(count));
    chunks.push_back(pointFormat_ < 6 ? encodeVersion1(pointFormat_, some)
                                      : encodeLayered(some, vlr_.items.back().version));
    first += count;
  }
  return chunks;
}

LasFile LazFile::head() const {
  const std::size_t length = records_.empty() ? kRecordLengths.at(pointFormat_) : records_.front().size();
  LasFile file(pointFormat_);
  file.recordLength(static_cast<std::uint16_t>(length));
  file.vlr("laszip encoded", 22204, asText(Formats::Laz::writeLazVlr(vlr_)));
  file.statedPoints(statedPoints_);
  file.patch(104, static_cast<std::uint8_t>(pointFormat_ | 0x80U));
  return file;
}

std::size_t LazFile::pointOffset() const { return head().bytes().size(); }

std::string LazFile::bytes() const {
  const std::vector<std::string> all = chunks();
  std::string points;
  for (const std::string& chunk : all) points += chunk;
  if (vlr_.compressor != Compressor::PointWise) {
    const std::string table = counts_.empty() ? encodeChunkTable(all) : encodeChunkTable(all, counts_);
    const auto begin = static_cast<std::int64_t>(pointOffset());
    const auto place = begin + 8 + static_cast<std::int64_t>(points.size());
    std::string atBegin;
    put(atBegin, 0, table_ == Table::PlaceAtTheEnd ? -1 : table_ == Table::None ? begin : place);
    points.insert(0, atBegin);
    if (table_ == Table::Blank) points += std::string(table.size(), '\0');
    if (table_ == Table::BeforeTheEnd || table_ == Table::PlaceAtTheEnd) points += table;
    if (table_ == Table::PlaceAtTheEnd) put(points, points.size(), place);
  }
  return head().tail(points).bytes();
}

std::string LazFile::lasBytes() const {
  LasFile file(pointFormat_);
  if (!records_.empty()) file.recordLength(static_cast<std::uint16_t>(records_.front().size()));
  for (const std::string& record : records_) file.point(record);
  return file.bytes();
}

std::vector<std::string> variedRecords(std::uint8_t pointFormat, std::size_t recordLength,
                                       std::size_t count) {
  std::mt19937 engine(pointFormat + 1U);
  const auto random = [&] { return static_cast<std::uint32_t>(engine()); };
  const auto seldom = [&](unsigned oneIn) { return random() % oneIn == 0; };
  std::vector<std::string> records;
  std::string record(recordLength, '\1');
  for (std::size_t i = 0; i < count; ++i) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const std::uint32_t step = seldom(50) ? random() : random() % 300U - 100U;
      std::uint32_t value = 0;
      std::memcpy(&value, record.data() + 4 * axis, sizeof value);
      put(record, 4 * axis, value + step);
    }
    for (std::size_t at = 12; at < recordLength; ++at) {
      const bool isTime = (pointFormat == 1 || pointFormat == 3) && at >= 20 && at < 28;
      if (isTime ? at == 20 && seldom(2) : seldom(5)) record[at] = static_cast<char>(random());
    }
    if (pointFormat == 1 && seldom(20)) put(record, 20, std::uint64_t{random()} << 20U);
    records.push_back(record);
  }
  return records;
}

std::vector<std::string> layeredRecords(std::size_t numExtraBytes, std::size_t count, unsigned numChannels) {
  std::vector<std::string> records;
  std::mt19937 engine(7);
  const auto random = [&] { return static_cast<std::uint32_t>(engine()); };
  unsigned channel = numChannels - 1;
  for (std::size_t i = 0; i < count; ++i) {
    std::string record(30 + numExtraBytes, '\2');
    for (std::size_t axis = 0; axis < 3; ++axis) {
      put(record, 4 * axis, static_cast<std::int32_t>(i * (axis + 1) + random() % 9U));
    }
    if (random() % 4U == 0) channel = random() % numChannels;
    put(record, 14, std::uint8_t{0x11});  // the only return
    put(record, 15, static_cast<std::uint8_t>(channel << 4U));
    for (std::size_t at = 30; at < record.size(); ++at) {
      record[at] = static_cast<char>(10 * channel + random() % 3U);
    }
    records.push_back(record);
  }
  return records;
}

}  // namespace Testing
