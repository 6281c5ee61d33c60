#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "formats/e57/Packets.h"
#include "formats/e57/Scan.h"

namespace Formats::E57 {

/// The bit-packed values of several fields, each in a run of bytes with kPadding more behind it that may be
/// read. Keeps its memory for the next run of records.
class Columns {
 public:
  static constexpr std::size_t kPadding = 16;

  /// Makes room for columns of these sizes in bytes; what they hold is undefined.
  void reset(std::span<const std::size_t> sizes);

  [[nodiscard]] std::byte* operator[](std::size_t field) { return memory_.get() + offsets_[field]; }
  [[nodiscard]] const std::byte* operator[](std::size_t field) const {
    return memory_.get() + offsets_[field];
  }

 private:
  std::vector<std::size_t> offsets_;
  std::unique_ptr<std::byte[]> memory_;
  std::size_t capacity_ = 0;
};

/// Where the points of a scan stand in its section: every kRecordsPerStep records, for each known field, the
/// place in its byte stream. So records can be read from any step on, although packets may cut the streams
/// anywhere. Immutable. Threads: calls are safe together.
class PacketIndex {
 public:
  static constexpr std::size_t kRecordsPerStep = 4096;
  /// The most records of a scan whose known fields take no bits: nothing else bounds their number.
  static constexpr std::uint64_t kMostWithoutBits = std::uint64_t{1} << 20U;

  /// Walks the heads of the packets until every known field has the bytes of all records.
  /// @param scan  with at least one record.
  /// @param name  the file's.
  /// @throws Core::FormatError for a packet that cannot be, and when the section ends too early.
  PacketIndex(const Scan& scan, const Section& section, const Fetch& fetch, std::string_view name);

  /// Gathers the columns of records, one a field of the scan.
  /// @param step    the first record is number step * kRecordsPerStep; there are at least @p count from it
  /// on.
  /// @param wanted  one a field of the scan, 0 for those whose columns may stay undefined.
  /// @throws Core::FormatError when the packets are no longer what they were.
  void read(std::uint64_t step, std::size_t count, std::span<const char> wanted, const Fetch& fetch,
            std::string_view name, Columns& columns) const;

 private:
  /// Of one known field.
  struct Stream {
    std::size_t number = 0;  // in the packets
    unsigned bits = 0;

    /// The bytes that @p count values take.
    [[nodiscard]] std::uint64_t bytesOf(std::uint64_t count) const { return (count * bits + 7) / 8; }
  };
  /// In the packet that begins at a logical offset, behind the first bytes that it holds of the stream.
  struct Place {
    std::uint64_t packet = 0;
    std::uint32_t skip = 0;
  };
  struct Gathering;

  void checkRecordCount(std::uint64_t recordCount, std::string_view name) const;
  void build(std::uint64_t recordCount, const Fetch& fetch, std::string_view name);
  [[nodiscard]] const Place& place(std::uint64_t step, std::size_t field) const {
    return places_[static_cast<std::size_t>(step) * streams_.size() + field];
  }

  Section section_;
  std::size_t numStreams_;
  std::vector<Stream> streams_;  // one a known field
  std::vector<Place> places_;    // by step, then by field
};

}  // namespace Formats::E57
