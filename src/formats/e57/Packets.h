#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string_view>
#include <vector>

namespace Formats::E57 {

/// Fills a span with the bytes of a file from a logical offset on. Throws what reading throws.
using Fetch = std::function<void(std::uint64_t logicalOffset, std::span<std::byte> out)>;

/// Where a section (CompressedVector) and its packets stand, as logical offsets.
struct Section {
  std::uint64_t begin = 0;
  std::uint64_t firstPacket = 0;
  std::uint64_t end = 0;

  bool operator==(const Section&) const = default;
};

/// Reads the head of a section.
/// @param physical    its offset.
/// @param fileLength  physical, whole pages.
/// @param name        the file's.
/// @throws Core::FormatError when it is none, or does not lie inside the file.
[[nodiscard]] Section readSection(std::uint64_t physical, std::uint64_t fileLength, const Fetch& fetch,
                                  std::string_view name);

/// Goes from one data packet of a section to the next. Every step moves on by at least four bytes, so it
/// ends. Views fetch and name.
class PacketWalk {
 public:
  /// A piece of a byte stream.
  struct Piece {
    std::uint64_t offset = 0;  ///< logical
    std::uint32_t size = 0;
  };

  PacketWalk(const Section& section, std::size_t numStreams, const Fetch& fetch, std::string_view name);

  /// Goes on with the packet that begins at a logical offset, which is inside the section.
  void seek(std::uint64_t packet) { next_ = packet; }
  /// Goes to the next data packet, passing over others. False at the end of the section.
  /// @throws Core::FormatError for a packet that cannot be.
  bool next();

  /// The logical offset of the packet at hand, and what it holds of each stream.
  [[nodiscard]] std::uint64_t packet() const { return packet_; }
  [[nodiscard]] std::span<const Piece> pieces() const { return pieces_; }
  /// Where the next packet begins.
  [[nodiscard]] std::uint64_t position() const { return next_; }

 private:
  void readPieces(std::uint32_t length);
  [[noreturn]] void refuse(std::string_view field, std::string_view expected, std::uint64_t found) const;

  Section section_;
  const Fetch& fetch_;
  std::string_view name_;
  std::uint64_t next_;
  std::uint64_t packet_ = 0;
  std::vector<Piece> pieces_;
  std::vector<std::byte> lengths_;
};

}  // namespace Formats::E57
