#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Brotli {

/// Bytes as they stand, then bytes as they were before: one step of a stream (RFC 7932, section 2). A copy of
/// no bytes comes only at the end of a meta-block.
struct Command {
  std::uint32_t insert = 0;
  std::uint32_t copy = 0;  ///< 0, or at least 2
  std::uint32_t distance = 0;
};

/// A part of a column. Its commands stand behind each other in the meta-block's list.
struct Segment {
  std::size_t begin = 0;  ///< in the data, in bytes
  std::size_t end = 0;
  std::size_t firstCommand = 0;
  std::size_t endCommand = 0;
  /// Bytes that its first command, where it has one, inserts for the segments before, whose last bytes no
  /// copy follows.
  std::uint32_t carried = 0;
};

/// Segments that share codes.
struct MetaBlock {
  std::vector<Segment> segments;  ///< at least one; each begins where the one before ends
  std::vector<Command> commands;
  unsigned postfixBits = 0;  ///< distances are multiples of 2 to this power, or few are not

  void clear() {
    segments.clear();
    commands.clear();
  }
  [[nodiscard]] std::size_t size() const { return segments.back().end - segments.front().begin; }
};

/// Calls @p run(begin, end) for each row of bytes of a segment that are stored as they stand.
template <class Run>
void forEachLiteralRun(const MetaBlock& block, const Segment& segment, const Run& run) {
  std::size_t position = segment.begin;
  std::uint32_t carried = segment.carried;
  for (std::size_t i = segment.firstCommand; i < segment.endCommand; ++i) {
    const Command& command = block.commands[i];
    const std::size_t end = position + command.insert - carried;
    carried = 0;
    if (end > position) run(position, end);
    position = end + command.copy;
  }
  if (position < segment.end) run(position, segment.end);
}

}  // namespace Brotli
