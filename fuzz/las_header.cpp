// Any bytes as a LAS file: refused by a FormatError, or a header, records and attributes that fit the bytes.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "formats/LasExtraBytes.h"
#include "formats/LasHeader.h"
#include "formats/LasPoints.h"
#include "formats/LasProjection.h"
#include "formats/LasVlr.h"

namespace {

using Bytes = std::span<const std::byte>;

void require(bool holds) {
  if (!holds) std::abort();
}

void checkHeader(const Formats::LasHeader& header) {
  require(header.pointFormat <= 10 && header.recordLength >= Formats::lasRecordSize(header.pointFormat));
  for (std::size_t axis = 0; axis < 3; ++axis) {
    for (const std::int32_t stored : {INT32_MIN, INT32_MAX}) {
      require(header.scale[axis] > 0 && std::isfinite(stored * header.scale[axis] + header.offset[axis]));
    }
  }
}

std::vector<Formats::LasVlr> list(Bytes file, const Formats::LasVlrRegion& region) {
  const auto fetch = [&](std::uint64_t offset, std::span<std::byte> out) {
    require(offset >= region.begin && offset <= region.end && out.size() <= region.end - offset);
    std::memcpy(out.data(), file.data() + offset, out.size());
  };
  std::vector<std::string> warnings;
  return Formats::listLasVlrs(region, fetch, warnings);
}

/// What the records hold, each read as everything that records can be.
void readRecords(Bytes file, const std::vector<Formats::LasVlr>& records, const Formats::LasHeader& header) {
  const std::size_t numExtraBytes = header.recordLength - Formats::lasRecordSize(header.pointFormat);
  for (const Formats::LasVlr& record : records) {
    require(record.dataOffset <= file.size() && record.dataSize <= file.size() - record.dataOffset);
    const Bytes data = file.subspan(record.dataOffset, record.dataSize);
    std::vector<std::string> warnings;
    const auto fields = Formats::readLasExtraBytes(data, numExtraBytes, warnings);
    const Formats::LasPointDecoder decoder(header.pointFormat, header.recordLength, fields);
    const std::vector<std::byte> own(data.begin(), data.end());
    (void)Formats::projectionOf({own, {}, own, own}, header.statesWkt, warnings);
    (void)Formats::projectionOf({{}, own, own, own}, header.statesWkt, warnings);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Bytes file = std::as_bytes(std::span(data, size));
  const Core::Source source{"fuzz"};
  try {
    const auto raw =
        Formats::readLasRawHeader(file.first(std::min(size, Formats::kLongestLasHeader)), source);
    const Formats::LasHeader header = Formats::checkLasHeader(raw, source);
    checkHeader(header);
    const Bytes behind = file.subspan(std::min<std::uint64_t>(header.pointDataOffset, size));
    const auto points =
        Formats::findLasPoints(header, size, behind.first(std::min<std::size_t>(2, behind.size())), source);
    require(points.offset <= size && points.numPresent <= (size - points.offset) / header.recordLength);
    using Formats::LasVlrRegion;
    readRecords(
        file,
        list(file, {LasVlrRegion::Kind::Vlr, header.headerSize, header.pointDataOffset, header.numVlrs}),
        header);
    readRecords(file, list(file, {LasVlrRegion::Kind::Evlr, header.evlrOffset, size, header.numEvlrs}),
                header);
  } catch (const Core::FormatError&) {  // the only way to refuse
  }
  return 0;
}
