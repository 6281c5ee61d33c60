#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <stop_token>
#include <string>

namespace Core {

/// Bytes that were allocated without being cleared.
struct ByteBuffer {
  std::unique_ptr<std::byte[]> data;
  std::size_t size = 0;
  std::size_t capacity = 0;

  [[nodiscard]] std::span<const std::byte> bytes() const { return {data.get(), size}; }
  /// Makes room for @p wanted bytes; what it held is lost when it has to grow.
  void reserveDiscarding(std::size_t wanted);
};

/// Decompresses the whole brotli stream (RFC 7932) @p compressed into @p output, which is grown as the
/// stream needs it, never beyond @p maxSize bytes, and can be used again for the next stream.
/// @throws std::runtime_error when the stream is damaged, cut short, followed by other bytes, or longer than
///         @p maxSize; the text says which, and after how many bytes. Also when a stop is requested, which is
///         looked at once a MiB of output.
void brotliDecode(std::span<const std::byte> compressed, std::size_t maxSize, ByteBuffer& output,
                  const std::stop_token& stopToken = {});

/// Compresses @p bytes with @p quality (0 to 11) and a window of at most 22 bits.
[[nodiscard]] std::string brotliEncode(std::span<const std::byte> bytes, int quality);

}  // namespace Core
