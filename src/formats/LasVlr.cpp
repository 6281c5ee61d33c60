#include "formats/LasVlr.h"

#include <array>

#include "core/ByteReader.h"
#include "formats/FieldText.h"

namespace Formats {
namespace {

constexpr std::size_t kVlrHeaderSize = 54;
constexpr std::size_t kEvlrHeaderSize = 60;
constexpr std::size_t kMostRecords = 10'000;  // real files hold fewer than 400, waveform descriptors included

std::size_t headerSizeOf(LasVlrRegion::Kind kind) {
  return kind == LasVlrRegion::Kind::Vlr ? kVlrHeaderSize : kEvlrHeaderSize;
}

/// The record whose header stands at @p offset of the file.
LasVlr parseHeader(LasVlrRegion::Kind kind, std::uint64_t offset, std::span<const std::byte> bytes) {
  Core::ByteReader reader(bytes, {"record header", offset});
  (void)reader.read<std::uint16_t>("reserved");  // 0, or 0xAABB by older writers
  LasVlr record;
  record.userId = textOfField(reader.take(16, "user id"));
  record.recordId = reader.read<std::uint16_t>("record id");
  record.dataSize = kind == LasVlrRegion::Kind::Vlr ? reader.read<std::uint16_t>("length")
                                                    : reader.read<std::uint64_t>("length");
  record.dataOffset = offset + bytes.size();
  return record;
}

}  // namespace

std::vector<LasVlr> listLasVlrs(const LasVlrRegion& region, const FetchBytes& fetch,
                                std::vector<std::string>& warnings) {
  const std::string what = region.kind == LasVlrRegion::Kind::Vlr ? "records before the points"
                                                                  : "extended records behind the points";
  const auto countWarning = [&](std::size_t found, std::string_view why) {
    warnings.push_back("The header counts " + std::to_string(region.count) + ' ' + what + "; " +
                       std::to_string(found) + " were read, " + std::string(why) + '.');
  };
  std::vector<LasVlr> records;
  std::uint64_t position = region.begin;
  std::array<std::byte, kEvlrHeaderSize> buffer;
  const auto header = std::span(buffer).first(headerSizeOf(region.kind));
  while (records.size() < region.count) {
    if (records.size() == kMostRecords) {
      countWarning(records.size(), "which is the most that is read");
      break;
    }
    if (position > region.end || header.size() > region.end - position) {
      countWarning(records.size(), "there is no room for more");
      break;
    }
    fetch(position, header);
    LasVlr record = parseHeader(region.kind, position, header);
    if (record.dataSize > region.end - record.dataOffset) {
      countWarning(records.size(),
                   "the next, at byte " + std::to_string(position) + ", is longer than the room for it");
      break;
    }
    position = record.dataOffset + record.dataSize;
    records.push_back(std::move(record));
  }
  return records;
}

}  // namespace Formats
