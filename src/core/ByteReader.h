#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "core/FormatError.h"

namespace Core {

static_assert(std::endian::native == std::endian::little, "the files we read are little-endian");

/// Reads the little-endian number at the start of @p bytes, which holds at least sizeof(T) (not checked).
template <class T>
requires std::integral<T> || std::floating_point<T>
[[nodiscard]] inline T loadLittleEndian(const std::byte* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof(T));
  return value;
}

/// Takes little-endian numbers from a span, one after the other. Views the span and the source's name: both
/// must outlive it. A read that would leave the span throws FormatError and moves nothing.
class ByteReader {
 public:
  ByteReader(std::span<const std::byte> bytes, const Source& source) : bytes_(bytes), source_(source) {}

  template <class T>
  [[nodiscard]] T read(std::string_view field) {
    const std::span<const std::byte> bytes = take(sizeof(T), field);
    return loadLittleEndian<T>(bytes.data());
  }

  /// The next @p count bytes.
  [[nodiscard]] std::span<const std::byte> take(std::size_t count, std::string_view field);

  [[nodiscard]] std::size_t position() const { return position_; }
  [[nodiscard]] std::size_t remaining() const { return bytes_.size() - position_; }

 private:
  std::span<const std::byte> bytes_;
  Source source_;
  std::size_t position_ = 0;
};

}  // namespace Core
