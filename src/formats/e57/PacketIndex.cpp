#include "formats/e57/PacketIndex.h"

#include <algorithm>
#include <limits>
#include <string>

#include "core/FormatError.h"
#include "formats/e57/Pages.h"

namespace Formats::E57 {

void Columns::reset(std::span<const std::size_t> sizes) {
  offsets_.clear();
  std::size_t total = 0;
  for (const std::size_t size : sizes) {
    offsets_.push_back(total);
    total += size + kPadding;
  }
  if (total <= capacity_) return;
  memory_ = std::make_unique_for_overwrite<std::byte[]>(total);
  capacity_ = total;
}

PacketIndex::PacketIndex(const Scan& scan, const Section& section, const Fetch& fetch, std::string_view name)
    : section_(section), numStreams_(scan.numStreams) {
  for (const PointField& field : scan.fields) streams_.push_back({field.stream, field.bits});
  checkRecordCount(scan.recordCount, name);
  build(scan.recordCount, fetch, name);
}

/// Before anything is allocated for that many records.
void PacketIndex::checkRecordCount(std::uint64_t recordCount, std::string_view name) const {
  unsigned widest = 0;
  for (const Stream& stream : streams_) widest = std::max(widest, stream.bits);
  const std::uint64_t most =
      widest == 0 ? kMostWithoutBits : (section_.end - section_.firstPacket) * 8 / widest;
  if (recordCount <= most) return;
  throw Core::FormatError({name, physicalOffset(section_.firstPacket)}, "records of a scan",
                          "at most " + std::to_string(most) + " by the size of their section",
                          std::to_string(recordCount));
}

void PacketIndex::build(std::uint64_t recordCount, const Fetch& fetch, std::string_view name) {
  const std::uint64_t numSteps = recordCount / kRecordsPerStep + (recordCount % kRecordsPerStep != 0 ? 1 : 0);
  places_.resize(static_cast<std::size_t>(numSteps) * streams_.size());
  std::vector<std::uint64_t> seen(streams_.size());   // bytes of each stream
  std::vector<std::uint64_t> steps(streams_.size());  // places found
  std::size_t unfinished = 0;
  for (const Stream& stream : streams_) unfinished += stream.bits != 0 ? 1 : 0;
  PacketWalk walk(section_, numStreams_, fetch, name);
  while (unfinished != 0) {
    if (!walk.next()) {
      throw Core::FormatError({name, physicalOffset(section_.end)},
                              "the section of points is truncated: values of " + std::to_string(recordCount) +
                                  " records in every byte stream",
                              "more packets", "its end");
    }
    for (std::size_t i = 0; i < streams_.size(); ++i) {
      const Stream& stream = streams_[i];
      const std::uint64_t needed = stream.bytesOf(recordCount);
      if (seen[i] >= needed) continue;
      const std::uint64_t now = seen[i] + walk.pieces()[stream.number].size;
      for (; steps[i] < numSteps; ++steps[i]) {
        const std::uint64_t begin = stream.bytesOf(steps[i] * kRecordsPerStep);
        if (begin >= now) break;
        places_[static_cast<std::size_t>(steps[i]) * streams_.size() + i] = {
            walk.packet(), static_cast<std::uint32_t>(begin - seen[i])};
      }
      seen[i] = now;
      if (now >= needed) --unfinished;
    }
  }
}

/// What is left to gather of one stream.
struct PacketIndex::Gathering {
  Place from;
  std::size_t number = 0;  // of the stream
  std::byte* out = nullptr;
  std::size_t left = 0;

  void take(const PacketWalk& walk, const Fetch& fetch) {
    if (left == 0 || from.packet > walk.packet()) return;
    PacketWalk::Piece piece = walk.pieces()[number];
    if (from.packet == walk.packet()) {
      const std::uint32_t skip = std::min(from.skip, piece.size);
      piece.offset += skip;
      piece.size -= skip;
    }
    const std::size_t size = std::min<std::size_t>(piece.size, left);
    fetch(piece.offset, {out, size});
    out += size;
    left -= size;
  }
};

void PacketIndex::read(std::uint64_t step, std::size_t count, std::span<const char> wanted,
                       const Fetch& fetch, std::string_view name, Columns& columns) const {
  std::vector<std::size_t> sizes;
  for (const Stream& stream : streams_) sizes.push_back(static_cast<std::size_t>(stream.bytesOf(count)));
  columns.reset(sizes);
  std::vector<Gathering> gatherings;  // in the order of the streams, so that pages are read forwards
  for (std::size_t i = 0; i < streams_.size(); ++i) {
    if (wanted[i] == 0 || sizes[i] == 0) continue;
    gatherings.push_back({place(step, i), streams_[i].number, columns[i], sizes[i]});
  }
  PacketWalk walk(section_, numStreams_, fetch, name);
  std::uint64_t position = 0;
  while (true) {
    // Where no stream is under way, go to the next place at which one begins.
    bool isUnderWay = false;
    std::uint64_t nearest = std::numeric_limits<std::uint64_t>::max();
    for (const Gathering& gathering : gatherings) {
      if (gathering.left == 0) continue;
      isUnderWay = isUnderWay || gathering.from.packet < position;
      nearest = std::min(nearest, gathering.from.packet);
    }
    if (nearest == std::numeric_limits<std::uint64_t>::max()) return;
    if (!isUnderWay) walk.seek(nearest);
    if (!walk.next()) {
      throw Core::FormatError({name, physicalOffset(section_.end)}, "section of points",
                              "the packets that it began with", "fewer");
    }
    for (Gathering& gathering : gatherings) gathering.take(walk, fetch);
    position = walk.position();
  }
}

}  // namespace Formats::E57
