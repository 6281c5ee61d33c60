// Decoding nodes of 20,000 points. Uncompressed: against memcpy of the mean of what is read and written, over
// cold buffers. Brotli: against libbrotli alone on the same bytes, in processor time, and on two threads.
// Both: with extra columns of all attributes against without.
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "Rounds.h"
#include "converter/MortonCode.h"
#include "converter/NodeEncoder.h"
#include "core/Brotli.h"
#include "core/ByteReader.h"
#include "octree/potree/NodeDecoder.h"
#include "support/PointRecords.h"

namespace {

constexpr std::size_t kNodes = 64;
constexpr std::size_t kPointsPerNode = 20'000;
constexpr std::size_t kPoints = kNodes * kPointsPerNode;
constexpr std::size_t kWritten = 19;  // bytes a point: position, colour, intensity, class
constexpr int kRounds = 9;

using Node = std::string;

/// A survey in Morton order, so that every run of points is as compact as a node.
std::vector<std::byte> sortedSurvey(const Testing::PointRecords& survey) {
  const std::size_t stride = survey.stride();
  std::vector<std::pair<std::uint64_t, std::size_t>> order;
  for (std::size_t i = 0; i < kPoints; ++i) {
    std::uint64_t code = 0;
    for (unsigned axis = 0; axis < 3; ++axis) {
      const auto value = Core::loadLittleEndian<std::uint32_t>(survey.records.data() + i * stride + 4 * axis);
      for (unsigned bit = 0; bit < 21; ++bit) code |= std::uint64_t{value >> bit & 1U} << (3 * bit + axis);
    }
    order.emplace_back(code, i);
  }
  std::sort(order.begin(), order.end());
  std::vector<std::byte> sorted(survey.records.size());
  for (std::size_t i = 0; i < kPoints; ++i) {
    std::memcpy(sorted.data() + i * stride, survey.records.data() + order[i].second * stride, stride);
  }
  return sorted;
}

PoTree::MetaData metaDataOf(const Testing::PointRecords& survey, PoTree::Encoding encoding) {
  PoTree::MetaData metaData;
  metaData.scale.fill(survey.scale);
  metaData.encoding = encoding;
  metaData.attributes = survey.attributes;
  metaData.bytesPerPoint = survey.stride();
  return metaData;
}

std::span<const std::byte> bytesOf(const Node& node) { return std::as_bytes(std::span(node)); }

std::vector<Node> encodedNodes(const Testing::PointRecords& survey, const std::vector<std::byte>& sorted,
                               PoTree::Encoding encoding) {
  const auto encoder = Converter::makeNodeEncoder(encoding, Converter::RecordLayout(survey.attributes));
  std::vector<Node> nodes;
  const std::size_t size = kPointsPerNode * survey.stride();
  for (std::size_t i = 0; i < kNodes; ++i) {
    std::string scratch;
    const auto bytes = encoder->encode(std::span(sorted).subspan(i * size, size), scratch);
    nodes.emplace_back(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  }
  return nodes;
}

/// Sums that both encodings of a node must share, to see that everything was decoded.
std::array<double, 4> sums(const Math::NodePoints& points) {
  std::array<double, 4> sum{};
  for (const float coordinate : points.positions()) sum[0] += static_cast<double>(coordinate);
  for (const Math::Color color : points.colors()) sum[1] += color.r() + 2 * color.g() + 3 * color.b();
  for (const std::uint16_t intensity : points.intensities()) sum[2] += intensity;
  for (const std::uint8_t index : points.classIndices()) sum[3] += index;
  return sum;
}

void benchUncompressed(const PoTree::NodeFormat& format, const std::vector<Node>& nodes, std::size_t stride) {
  Math::NodePoints reused;
  const auto decodeInto = [&](Math::NodePoints& points, const Node& node) {
    points.resize(kPointsPerNode);
    PoTree::decodeNode(format, bytesOf(node), points);
  };
  const auto decodeReusing = [&] {
    for (const Node& node : nodes) decodeInto(reused, node);
    return 0;
  };
  const auto decodeFresh = [&] {
    for (const Node& node : nodes) {
      Math::NodePoints fresh;
      decodeInto(fresh, node);
    }
    return 0;
  };
  const std::size_t copied = kPointsPerNode * (stride + kWritten) / 2;
  std::vector<Node> sources(kNodes, Node(copied, 'x'));
  std::vector<Node> targets(kNodes, Node(copied, 'y'));
  const auto copy = [&] {
    for (std::size_t i = 0; i < kNodes; ++i) std::memcpy(targets[i].data(), sources[i].data(), copied);
    return targets.back().back();
  };
  Bench::report("uncompressed decode, reused columns, a point", "memcpy",
                Bench::alternate(5 * kRounds, Bench::wallSeconds, decodeReusing, copy), kPoints);
  Bench::report("uncompressed decode, fresh columns, a point", "memcpy",
                Bench::alternate(5 * kRounds, Bench::wallSeconds, decodeFresh, copy), kPoints);
}

void decodeBrotliNodes(const PoTree::NodeFormat& format, const std::vector<Node>& nodes, std::size_t first,
                       std::size_t step) {
  Math::NodePoints points;
  Core::ByteBuffer decompressed;
  for (std::size_t i = first; i < nodes.size(); i += step) {
    Core::brotliDecode(bytesOf(nodes[i]), (kPointsPerNode + 1) * format.bytesPerPoint, decompressed);
    points.resize(kPointsPerNode);
    PoTree::decodeNode(format, decompressed.bytes(), points);
  }
}

void benchBrotli(const PoTree::NodeFormat& format, const std::vector<Node>& nodes) {
  const auto decode = [&] {
    decodeBrotliNodes(format, nodes, 0, 1);
    return 0;
  };
  const auto libbrotli = [&] {
    Core::ByteBuffer decompressed;
    for (const Node& node : nodes) {
      Core::brotliDecode(bytesOf(node), (kPointsPerNode + 1) * format.bytesPerPoint, decompressed);
    }
    return 0;
  };
  Bench::report("brotli decode, processor time, a point", "libbrotli",
                Bench::alternate(kRounds, Bench::processorSeconds, decode, libbrotli), kPoints);
  const auto onTwoThreads = [&] {
    const std::jthread other([&] { decodeBrotliNodes(format, nodes, 1, 2); });
    decodeBrotliNodes(format, nodes, 0, 2);
    return 0;
  };
  Bench::report("brotli decode on two threads, a point", "on one   ",
                Bench::alternate(kRounds, Bench::wallSeconds, onTwoThreads, decode), kPoints);
}

/// Decodes with an extra column of every attribute against without, nodes that are decompressed already.
void benchExtras(const char* what, const PoTree::MetaData& metaData, const std::vector<Node>& nodes) {
  std::vector<Math::Attribute> columns;
  for (const PoTree::Attribute& attribute : metaData.attributes) {
    if (const auto column = PoTree::columnAttribute(metaData, attribute)) columns.push_back(*column);
  }
  const auto decodeWith = [&](const std::vector<Math::Attribute>& wanted) {
    const PoTree::NodeFormat format(metaData, 1, wanted);
    Math::NodePoints points;
    points.setExtras(Math::ExtraColumns(wanted));
    for (const Node& node : nodes) {
      points.resize(0);
      PoTree::decodeNode(format, bytesOf(node), points);
    }
    return points.extras().byteSize();
  };
  const auto all = [&] { return decodeWith(columns); };
  const auto none = [&] { return decodeWith({}); };
  if (all() != kPointsPerNode * Converter::RecordLayout(metaData.attributes).stride) {
    std::printf("%s: extra columns are missing\n", what);
    return;
  }
  Bench::report(what, "without  ", Bench::alternate(kRounds, Bench::processorSeconds, all, none), kPoints);
}

std::vector<Node> decompressed(const std::vector<Node>& nodes) {
  std::vector<Node> result;
  Core::ByteBuffer buffer;
  for (const Node& node : nodes) {
    Core::brotliDecode(bytesOf(node), SIZE_MAX, buffer);
    const std::span<const std::byte> bytes = buffer.bytes();
    result.emplace_back(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  }
  return result;
}

}  // namespace

int main() {
  const Testing::PointRecords survey = Testing::surveyRecords(kPoints, 1);
  const std::vector<std::byte> sorted = sortedSurvey(survey);
  const PoTree::NodeFormat plainFormat(metaDataOf(survey, PoTree::Encoding::Uncompressed), 1);
  const PoTree::NodeFormat brotliFormat(metaDataOf(survey, PoTree::Encoding::Brotli), 1);
  const std::vector<Node> plain = encodedNodes(survey, sorted, PoTree::Encoding::Uncompressed);
  const std::vector<Node> brotli = encodedNodes(survey, sorted, PoTree::Encoding::Brotli);
  for (std::size_t i = 0; i < kNodes; ++i) {
    Math::NodePoints a;
    Math::NodePoints b;
    Core::ByteBuffer decompressed;
    Core::brotliDecode(bytesOf(brotli[i]), SIZE_MAX, decompressed);
    PoTree::decodeNode(plainFormat, bytesOf(plain[i]), a);
    PoTree::decodeNode(brotliFormat, decompressed.bytes(), b);
    const auto sumA = sums(a);
    const auto sumB = sums(b);
    const bool same = std::abs(sumA[0] - sumB[0]) <= 1e-9 * std::abs(sumA[0]) &&
                      std::equal(sumA.begin() + 1, sumA.end(), sumB.begin() + 1) &&
                      a.size() == kPointsPerNode;
    if (!same) {
      std::printf("node %zu: the encodings differ\n", i);
      return 1;
    }
  }
  std::size_t compressed = 0;
  for (const Node& node : brotli) compressed += node.size();
  std::printf("%zu nodes of %zu points, %zu bytes a point, %.2f with brotli\n", kNodes, kPointsPerNode,
              survey.stride(), static_cast<double>(compressed) / static_cast<double>(kPoints));
  benchUncompressed(plainFormat, plain, survey.stride());
  benchBrotli(brotliFormat, brotli);
  benchExtras("uncompressed, all attributes, a point", metaDataOf(survey, PoTree::Encoding::Uncompressed),
              plain);
  benchExtras("decompressed blocks, all attributes, a point", metaDataOf(survey, PoTree::Encoding::Brotli),
              decompressed(brotli));
}
