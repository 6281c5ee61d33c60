// Any bytes as a section of points under any prototype: refused by FormatError, or reading the records in one
// go gives the same points as reading them step by step, and every value is the one that a plain walk gives.
#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>
#include <vector>

#include "core/FormatError.h"
#include "formats/e57/FieldValues.h"
#include "formats/e57/PacketIndex.h"
#include "formats/e57/PointDecoder.h"

namespace {

using namespace Formats::E57;
using Bytes = std::span<const std::byte>;

constexpr std::size_t kBytesPerField = 3;
constexpr std::size_t kHead = 4;
constexpr std::uint64_t kMostRecords = 3 * PacketIndex::kRecordsPerStep;

/// A scan drawn from the first bytes of an input; the rest is its packets.
struct Input {
  Scan scan;
  std::vector<std::byte> packets;  // an allocation of its own, so that over-reads are seen

  explicit Input(Bytes input) {
    if (input.size() < kHead) return;
    const auto number = [&](std::size_t i) { return std::to_integer<std::uint64_t>(input[i]); };
    scan.recordCount = (number(0) | number(1) << 8U) % kMostRecords + 1;
    const std::size_t numFields =
        std::min<std::size_t>(number(2) % 8 + 1, (input.size() - kHead) / kBytesPerField);
    scan.numStreams = numFields + number(3) % 2;
    for (std::size_t i = 0; i < numFields; ++i) {
      const std::size_t at = kHead + i * kBytesPerField;
      PointField field;
      field.role = static_cast<Role>(number(at) % kNumRoles);
      field.type = static_cast<FieldType>(number(at + 1) % 4);
      field.bits = field.type == FieldType::Single   ? 32
                   : field.type == FieldType::Double ? 64
                                                     : static_cast<unsigned>(number(at + 2) % 65);
      field.minimum = -static_cast<std::int64_t>(number(at + 1));
      field.stream = i;
      if (!scan.find(field.role)) scan.fields.push_back(field);
    }
    const Bytes rest = input.subspan(kHead + numFields * kBytesPerField);
    packets.assign(rest.begin(), rest.end());
  }
};

/// The values of a field, from a walk over all packets.
std::vector<double> walkPlainly(const Input& input, const Section& section, const Fetch& fetch,
                                const PointField& field) {
  std::vector<std::byte> stream;
  PacketWalk walk(section, input.scan.numStreams, fetch, "fuzz");
  const std::size_t needed = (input.scan.recordCount * field.bits + 7) / 8;
  while (stream.size() < needed && walk.next()) {
    const PacketWalk::Piece piece = walk.pieces()[field.stream];
    const std::size_t before = stream.size();
    stream.resize(before + piece.size);
    fetch(piece.offset, std::span(stream).subspan(before));
  }
  stream.resize(std::max(stream.size(), needed) + Columns::kPadding);
  std::vector<double> values(input.scan.recordCount);
  decodeValues(field, stream.data(), 0, values.size(), values.data());
  return values;
}

bool sameBits(double a, double b) {
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

void checkValues(const Input& input, const Section& section, const PacketIndex& index, const Fetch& fetch) {
  const std::vector<char> wanted(input.scan.fields.size(), 1);
  const std::size_t count = input.scan.recordCount;
  for (std::size_t f = 0; f < wanted.size(); ++f) {
    const std::vector<double> plain = walkPlainly(input, section, fetch, input.scan.fields[f]);
    for (std::size_t first = 0; first < count; first += PacketIndex::kRecordsPerStep) {
      Columns columns;
      const std::size_t records = count - first;
      index.read(first / PacketIndex::kRecordsPerStep, records, wanted, fetch, "fuzz", columns);
      std::vector<double> values(records);
      decodeValues(input.scan.fields[f], columns[f], 0, records, values.data());
      for (std::size_t i = 0; i < records; ++i) {
        if (!sameBits(values[i], plain[first + i])) std::abort();
      }
    }
  }
}

void checkPoints(const Input& input, const PacketIndex& index, const Fetch& fetch) {
  if (!input.scan.hasCartesian() && !input.scan.hasSpherical()) return;
  const std::size_t count = input.scan.recordCount;
  Columns columns;
  PointTarget target;
  for (std::size_t a = 0; a < kNumPointAttributes; ++a) {
    target.offsets[a] = target.stride;
    target.stride += describe(static_cast<PointAttribute>(a)).size();
  }
  std::vector<std::byte> records(count * target.stride);
  target.records = records.data();
  std::vector<double> world(3 * count);
  DroppedPoints dropped;
  const PointDecoder decoder(input.scan, ValueScale({0, 255}), ValueScale({0, 255}));
  index.read(0, count, decoder.wanted(target), fetch, "fuzz", columns);
  const std::size_t points = decoder.decode(columns, count, world.data(), target, dropped);
  if (points + dropped.invalid + dropped.notFinite != count) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Input input(std::as_bytes(std::span(data, size)));
  if (input.scan.fields.empty()) return 0;
  const Section section{0, 0, input.packets.size()};
  const Fetch fetch = [&](std::uint64_t offset, std::span<std::byte> out) {
    if (offset > input.packets.size() || out.size() > input.packets.size() - offset) std::abort();
    std::copy_n(input.packets.begin() + static_cast<std::ptrdiff_t>(offset), out.size(), out.begin());
  };
  try {
    const PacketIndex index(input.scan, section, fetch, "fuzz");
    checkValues(input, section, index, fetch);
    checkPoints(input, index, fetch);
  } catch (const Core::FormatError&) {
  }
  return 0;
}
