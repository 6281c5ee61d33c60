#include "brotli/TestColumns.h"

#include <stdexcept>

#include "brotli/ColumnEncoder.h"
#include "core/Brotli.h"
#include "sample/RandomBits.h"

namespace Testing {

Columns& Columns::add(std::size_t stride, const Bytes& column) {
  if (column.size() != stride * numElements) throw std::invalid_argument("a column of another length");
  strides.push_back(stride);
  data.insert(data.end(), column.begin(), column.end());
  return *this;
}

Bytes randomBytes(std::size_t size, std::uint64_t seed) {
  Sample::RandomBits random(seed);
  Bytes bytes(size);
  for (std::byte& byte : bytes) byte = static_cast<std::byte>(random.next() >> 56U);
  return bytes;
}

Bytes variedColumn(std::size_t count, std::size_t stride, std::uint64_t seed) {
  Sample::RandomBits random(seed);
  Bytes bytes(count * stride);
  for (std::size_t i = 0; i < count; ++i) {
    // Some elements are as one before, near or far.
    const std::uint64_t drawn = random.next();
    if (i > 0 && drawn % 4 == 0) {
      const std::size_t source = drawn / 4 % i;
      std::memcpy(bytes.data() + i * stride, bytes.data() + source * stride, stride);
      continue;
    }
    for (std::size_t lane = 0; lane < stride; ++lane) {
      const std::uint64_t bits = random.next();
      const std::uint64_t value = lane % 3 == 0 ? i >> (lane % 8) : lane % 3 == 1 ? bits % 5 : bits;
      bytes[i * stride + lane] = static_cast<std::byte>(value & 0xFFU);
    }
  }
  return bytes;
}

Bytes decoded(std::span<const std::byte> stream, std::size_t mostSize) {
  Core::ByteBuffer out;
  Core::brotliDecode(stream, mostSize, out);
  return {out.bytes().begin(), out.bytes().end()};
}

Bytes encoded(const Columns& columns) {
  Brotli::ColumnEncoder encoder;
  const std::span<const std::byte> stream =
      encoder.encode(columns.data, columns.numElements, columns.strides);
  return {stream.begin(), stream.end()};
}

}  // namespace Testing
