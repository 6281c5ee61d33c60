// Any bytes as columns of any strides: another decoder gets back what was encoded, and it is not longer than
// stated.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "brotli/ColumnEncoder.h"
#include "core/Brotli.h"

namespace {

/// Columns drawn from the first bytes of an input, filled by the rest, over and over.
struct Input {
  std::size_t numElements = 0;
  std::vector<std::size_t> strides;
  std::vector<std::byte> data;  // an allocation of its own, so that over-reads are seen

  explicit Input(std::span<const std::uint8_t> input) {
    constexpr std::size_t kMostBytes = 3U << 20U;
    std::size_t used = 0;
    const auto next = [&]() -> std::size_t { return used < input.size() ? input[used++] : 0; };
    const std::size_t numColumns = next() % 16;
    std::size_t stride = 0;
    for (std::size_t i = 0; i < numColumns; ++i) {
      const std::size_t drawn = next();
      strides.push_back(drawn < 200 ? 1 + drawn % 20 : (drawn - 199) * 37);
      stride += strides.back();
    }
    // Few elements mostly, and as many as several blocks take now and then.
    const std::size_t scale = next() % 16;
    numElements = (next() + 256 * next()) >> scale / 2;
    if (scale == 15) numElements *= 64;
    if (stride == 0) return;
    numElements = std::min(numElements, kMostBytes / stride);
    const std::size_t period = 1 + next() * next();
    data.resize(numElements * stride);
    for (std::size_t i = 0; i < data.size(); ++i) {
      const std::size_t rest = input.size() - used;
      if (i < rest) {
        data[i] = static_cast<std::byte>(input[used + i]);
      } else if (i >= period) {
        data[i] = data[i - period];
      }
    }
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Input input({data, size});
  Brotli::ColumnEncoder encoder;
  const std::span<const std::byte> stream = encoder.encode(input.data, input.numElements, input.strides);
  if (stream.size() > input.data.size() + input.data.size() / 1000 + 8) std::abort();
  Core::ByteBuffer decoded;
  Core::brotliDecode(stream, input.data.size(), decoded);
  const std::span<const std::byte> bytes = decoded.bytes();
  if (!std::equal(bytes.begin(), bytes.end(), input.data.begin(), input.data.end())) std::abort();
  return 0;
}
