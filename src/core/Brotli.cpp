#include "core/Brotli.h"

#include <brotli/decode.h>
#include <brotli/encode.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace Core {
namespace {

// Node data shrinks to a half or a tenth; a first guess of eight times mostly needs no second allocation.
constexpr std::size_t kFirstGuessFactor = 8;
constexpr std::size_t kLeastGuess = 64 * 1024;
constexpr std::size_t kBetweenStops = 1024 * 1024;

using Decoder = std::unique_ptr<BrotliDecoderState, decltype(&BrotliDecoderDestroyInstance)>;

[[noreturn]] void fail(const std::string& what, std::size_t produced) {
  throw std::runtime_error("brotli: " + what + " after " + std::to_string(produced) + " bytes");
}

void growKeeping(ByteBuffer& buffer, std::size_t used, std::size_t capacity) {
  auto grown = std::make_unique_for_overwrite<std::byte[]>(capacity);
  std::memcpy(grown.get(), buffer.data.get(), used);
  buffer.data = std::move(grown);
  buffer.capacity = capacity;
}

}  // namespace

void ByteBuffer::reserveDiscarding(std::size_t wanted) {
  size = 0;
  if (wanted <= capacity) return;
  data.reset();
  capacity = 0;
  data = std::make_unique_for_overwrite<std::byte[]>(wanted);
  capacity = wanted;
}

void brotliDecode(std::span<const std::byte> compressed, std::size_t maxSize, ByteBuffer& output,
                  const std::stop_token& stopToken) {
  const Decoder decoder(BrotliDecoderCreateInstance(nullptr, nullptr, nullptr),
                        &BrotliDecoderDestroyInstance);
  if (!decoder) throw std::bad_alloc();

  const std::size_t guess = std::max(kLeastGuess, compressed.size() * kFirstGuessFactor);
  output.reserveDiscarding(std::max<std::size_t>(1, std::min(maxSize, guess)));
  std::size_t limit = std::min(maxSize, output.capacity);
  std::size_t available_in = compressed.size();
  const auto* next_in = reinterpret_cast<const std::uint8_t*>(compressed.data());
  std::size_t produced = 0;
  for (;;) {
    if (stopToken.stop_requested()) fail("stopped", produced);
    const std::size_t step = std::min(limit - produced, kBetweenStops);
    std::size_t available_out = step;
    auto* next_out = reinterpret_cast<std::uint8_t*>(output.data.get()) + produced;
    const BrotliDecoderResult result = BrotliDecoderDecompressStream(decoder.get(), &available_in, &next_in,
                                                                     &available_out, &next_out, nullptr);
    produced += step - available_out;
    if (result == BROTLI_DECODER_RESULT_SUCCESS) break;
    if (result == BROTLI_DECODER_RESULT_ERROR) {
      fail(BrotliDecoderErrorString(BrotliDecoderGetErrorCode(decoder.get())), produced);
    }
    if (result == BROTLI_DECODER_RESULT_NEEDS_MORE_INPUT) fail("the stream ends early", produced);
    if (produced < limit) continue;
    if (limit == maxSize) fail("more output than the node can hold", produced);
    limit = std::min(maxSize, limit * 2);
    growKeeping(output, produced, limit);
  }
  if (available_in != 0) fail(std::to_string(available_in) + " bytes follow the stream", produced);
  output.size = produced;
}

std::string brotliEncode(std::span<const std::byte> bytes, int quality) {
  std::size_t size = std::max<std::size_t>(BrotliEncoderMaxCompressedSize(bytes.size()), 16);
  std::string out(size, '\0');
  if (BrotliEncoderCompress(quality, BROTLI_DEFAULT_WINDOW, BROTLI_MODE_GENERIC, bytes.size(),
                            reinterpret_cast<const std::uint8_t*>(bytes.data()), &size,
                            reinterpret_cast<std::uint8_t*>(out.data())) == BROTLI_FALSE) {
    throw std::runtime_error("brotli: cannot compress " + std::to_string(bytes.size()) + " bytes");
  }
  out.resize(size);
  return out;
}

}  // namespace Core
