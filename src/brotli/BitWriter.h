#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

#include "core/LittleEndian.h"

namespace Brotli {

/// Appends bits to a buffer that it owns: the first bit goes to the lowest place of a byte (RFC 7932,
/// section 1.5.1). Not to be used by two threads at once.
class BitWriter {
 public:
  static constexpr unsigned kMostBitsAtOnce = 56;

  /// Forgets what was written; the memory stays.
  void clear() {
    position_ = 0;
    pending_ = 0;
    pendingBits_ = 0;
  }

  /// Makes room for @p bits more bits: write() does not look.
  void reserve(std::uint64_t bits) {
    const std::size_t needed = position_ + static_cast<std::size_t>(bits / 8) + 2 * sizeof(pending_);
    if (needed > buffer_.size()) buffer_.resize(needed + needed / 4);
  }

  /// @param bits   none set above the lowest @p count.
  /// @param count  at most kMostBitsAtOnce.
  void write(std::uint64_t bits, unsigned count) {
    pending_ |= bits << pendingBits_;
    pendingBits_ += count;
    Core::storeLittleEndian(buffer_.data() + position_, pending_);
    position_ += pendingBits_ / 8;
    pending_ >>= pendingBits_ & ~7U;
    pendingBits_ &= 7U;
  }

  /// Fills the byte that was begun with zeros.
  void alignToByte() {
    if (pendingBits_ > 0) write(0, 8 - pendingBits_);
  }

  /// Only at the border of a byte; room has been made.
  void append(std::span<const std::byte> bytes) {
    std::memcpy(buffer_.data() + position_, bytes.data(), bytes.size());
    position_ += bytes.size();
  }

  /// A place in what was written.
  struct Mark {
    std::size_t position = 0;
    std::uint64_t pending = 0;
    unsigned pendingBits = 0;
  };
  [[nodiscard]] Mark mark() const { return {position_, pending_, pendingBits_}; }
  /// Forgets what was written behind @p mark.
  void rewind(const Mark& mark) {
    position_ = mark.position;
    pending_ = mark.pending;
    pendingBits_ = mark.pendingBits;
  }

  [[nodiscard]] std::uint64_t numBits() const { return std::uint64_t{position_} * 8 + pendingBits_; }

  /// The whole bytes written; valid until the next call that changes the writer.
  [[nodiscard]] std::span<const std::byte> bytes() const { return {buffer_.data(), position_}; }

 private:
  friend class BitCursor;

  std::vector<std::byte> buffer_;
  std::size_t position_ = 0;
  std::uint64_t pending_ = 0;
  unsigned pendingBits_ = 0;
};

/// Writes in place of a writer, faster: what it knows can stay in registers as long as no function that is
/// not inline gets it. The writer goes on where it ended once it is destroyed.
class BitCursor {
 public:
  /// @param writer  must outlive the cursor, and not be used meanwhile.
  explicit BitCursor(BitWriter& writer)
      : writer_(writer),
        next_(writer.buffer_.data() + writer.position_),
        pending_(writer.pending_),
        pendingBits_(writer.pendingBits_) {}
  BitCursor(const BitCursor&) = delete;
  BitCursor& operator=(const BitCursor&) = delete;
  ~BitCursor() {
    flush();
    writer_.position_ = static_cast<std::size_t>(next_ - writer_.buffer_.data());
    writer_.pending_ = pending_;
    writer_.pendingBits_ = pendingBits_;
  }

  /// Up to 56 bits between two calls of flush().
  void add(std::uint64_t bits, unsigned count) {
    pending_ |= bits << pendingBits_;
    pendingBits_ += count;
  }
  void flush() {
    next_ = Core::storeLittleEndian(next_, pending_) - sizeof(pending_) + pendingBits_ / 8;
    pending_ >>= pendingBits_ & ~7U;
    pendingBits_ &= 7U;
  }

 private:
  BitWriter& writer_;
  std::byte* next_;
  std::uint64_t pending_;
  unsigned pendingBits_;
};

}  // namespace Brotli
