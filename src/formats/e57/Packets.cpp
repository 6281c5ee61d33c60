#include "formats/e57/Packets.h"

#include <array>
#include <string>

#include "core/ByteReader.h"
#include "formats/e57/Pages.h"

namespace Formats::E57 {
namespace {

constexpr std::uint64_t kSectionHead = 32;
constexpr std::uint64_t kPacketHead = 4;  // that all kinds of packets have
constexpr std::uint32_t kDataHead = 6;
constexpr std::uint32_t kAlignment = 4;

enum class PacketType : std::uint8_t { Index = 0, Data = 1, Ignored = 2 };

Core::Source at(std::string_view name, std::uint64_t logical) { return {name, physicalOffset(logical)}; }

}  // namespace

Section readSection(std::uint64_t physical, std::uint64_t fileLength, const Fetch& fetch,
                    std::string_view name) {
  const std::uint64_t begin = logicalOffset(physical);
  const std::uint64_t fileEnd = logicalOffset(fileLength);
  if (!pointsAtContent(physical) || begin >= fileEnd || fileEnd - begin < kSectionHead) {
    throw Core::FormatError({name}, "offset of a section of points",
                            "the place of a content byte, " + std::to_string(kSectionHead) +
                                " before the end of the file, " + std::to_string(fileLength),
                            std::to_string(physical));
  }
  std::array<std::byte, kSectionHead> head{};
  fetch(begin, head);
  Core::ByteReader reader(head, at(name, begin));
  const auto id = reader.read<std::uint64_t>("section id") & 0xFFU;
  if (id != 1) throw Core::FormatError(at(name, begin), "section id", "1", std::to_string(id));
  const auto length = reader.read<std::uint64_t>("section length");
  if (length < kSectionHead || length > fileEnd - begin || length % kAlignment != 0) {
    throw Core::FormatError(
        at(name, begin + 8), "section length",
        "a multiple of 4 from 32 to " + std::to_string(fileEnd - begin) + ", or the file is truncated",
        std::to_string(length));
  }
  const auto data = reader.read<std::uint64_t>("offset of the data packets");
  const Section section{begin, logicalOffset(data), begin + length};
  if (!pointsAtContent(data) || section.firstPacket < begin + kSectionHead ||
      section.firstPacket > section.end) {
    throw Core::FormatError(at(name, begin + 16), "offset of the data packets", "a place inside the section",
                            std::to_string(data));
  }
  return section;
}

PacketWalk::PacketWalk(const Section& section, std::size_t numStreams, const Fetch& fetch,
                       std::string_view name)
    : section_(section),
      fetch_(fetch),
      name_(name),
      next_(section.firstPacket),
      pieces_(numStreams),
      lengths_(numStreams * sizeof(std::uint16_t)) {}

void PacketWalk::refuse(std::string_view field, std::string_view expected, std::uint64_t found) const {
  throw Core::FormatError(at(name_, packet_), field, expected, std::to_string(found));
}

bool PacketWalk::next() {
  while (section_.end - next_ >= kPacketHead) {
    packet_ = next_;
    std::array<std::byte, kPacketHead> head{};
    fetch_(packet_, head);
    const auto type = std::to_integer<std::uint8_t>(head[0]);
    const std::uint32_t length = Core::loadLittleEndian<std::uint16_t>(head.data() + 2) + 1U;
    if (type > static_cast<std::uint8_t>(PacketType::Ignored)) refuse("packet type", "0, 1 or 2", type);
    if (length % kAlignment != 0) refuse("packet length", "a multiple of 4", length);
    if (length > section_.end - packet_) {
      refuse("packet length",
             "at most " + std::to_string(section_.end - packet_) + ", what the section holds", length);
    }
    next_ += length;
    if (type != static_cast<std::uint8_t>(PacketType::Data)) continue;
    readPieces(length);
    return true;
  }
  return false;
}

void PacketWalk::readPieces(std::uint32_t length) {
  const auto room = static_cast<std::uint64_t>(length);
  std::uint64_t used = kDataHead + lengths_.size();
  if (used > room) refuse("packet length", "at least " + std::to_string(used), length);
  std::array<std::byte, sizeof(std::uint16_t)> count{};
  fetch_(packet_ + kPacketHead, count);
  const auto numStreams = Core::loadLittleEndian<std::uint16_t>(count.data());
  if (numStreams != pieces_.size()) {
    refuse("number of byte streams in a packet", std::to_string(pieces_.size()), numStreams);
  }
  fetch_(packet_ + kDataHead, lengths_);
  for (std::size_t i = 0; i < pieces_.size(); ++i) {
    const auto size = Core::loadLittleEndian<std::uint16_t>(lengths_.data() + i * sizeof(std::uint16_t));
    pieces_[i] = {packet_ + used, size};
    used += size;
  }
  if (used > room)
    refuse("byte streams of a packet", "at most its " + std::to_string(length) + " bytes", used);
}

}  // namespace Formats::E57
