// Any bytes as a brotli stream, and as the blocks that a stream holds: refused, or decoded within its limits.
#include <cstdlib>
#include <stdexcept>

#include "NodeInput.h"
#include "core/Brotli.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kMost = 100'000;
  const Fuzz::NodeInput input({data, size}, PoTree::Encoding::Brotli);
  Fuzz::decodeTwice(input, input.data);
  Core::ByteBuffer decompressed;
  try {
    Core::brotliDecode(input.data, kMost, decompressed);
  } catch (const std::runtime_error&) {
    return 0;
  }
  if (decompressed.size > kMost || decompressed.capacity > kMost) std::abort();
  Fuzz::decodeTwice(input, decompressed.bytes());
  return 0;
}
