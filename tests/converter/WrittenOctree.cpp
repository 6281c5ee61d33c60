#include "converter/WrittenOctree.h"

#include <algorithm>
#include <stdexcept>

#include "core/Brotli.h"
#include "support/SampleData.h"

namespace Testing {
namespace {

constexpr std::size_t kRecordSize = 22;

std::uint64_t littleEndian(std::string_view bytes, std::size_t offset, std::size_t count) {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < count; ++i) {
    value |= std::uint64_t{static_cast<unsigned char>(bytes.at(offset + i))} << 8 * i;
  }
  return value;
}

void appendLittleEndian(std::string& out, std::uint64_t value, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) out += static_cast<char>(value >> 8 * i & 0xFFU);
}

/// Every third bit of @p code from @p first on, 16 in all.
std::uint64_t everyThirdBit(std::uint64_t code, unsigned first) {
  std::uint64_t value = 0;
  for (unsigned k = 0; k < 16; ++k) value |= (code >> (3 * k + first) & 1U) << k;
  return value;
}

HierarchyRecord readRecord(std::string_view bytes) {
  return {static_cast<unsigned>(littleEndian(bytes, 0, 1)), static_cast<unsigned>(littleEndian(bytes, 1, 1)),
          static_cast<std::uint32_t>(littleEndian(bytes, 2, 4)), littleEndian(bytes, 6, 8),
          littleEndian(bytes, 14, 8)};
}

HierarchyChunk readChunk(std::string_view hierarchy, std::string root, std::uint64_t offset,
                         std::uint64_t size) {
  HierarchyChunk chunk{offset, size, {std::move(root)}, {}};
  const std::string_view bytes = hierarchy.substr(offset, size);
  for (std::size_t i = 0; (i + 1) * kRecordSize <= bytes.size() && i < chunk.reached.size(); ++i) {
    const HierarchyRecord record = readRecord(bytes.substr(i * kRecordSize, kRecordSize));
    chunk.records.push_back(record);
    if (record.type == 2) continue;
    for (unsigned child = 0; child < 8; ++child) {
      if ((record.childMask >> child & 1U) != 0)
        chunk.reached.push_back(chunk.reached[i] + std::to_string(child));
    }
  }
  return chunk;
}

/// One point of a decompressed node as an uncompressed record.
std::string recordFromBlocks(const nlohmann::json& attributes, std::string_view blocks, std::size_t points,
                             std::size_t index) {
  std::string record;
  std::size_t block = 0;
  for (const nlohmann::json& attribute : attributes) {
    auto size = attribute.at("size").get<std::size_t>();
    if (attribute.at("name") == "position") {
      size = 16;
      const std::uint64_t high = littleEndian(blocks, block + index * size, 8);
      const std::uint64_t low = littleEndian(blocks, block + index * size + 8, 8);
      for (unsigned axis = 0; axis < 3; ++axis) {
        appendLittleEndian(record, everyThirdBit(high, axis) << 16U | everyThirdBit(low, axis), 4);
      }
    } else if (attribute.at("name") == "rgb") {
      size = 8;
      const std::uint64_t code = littleEndian(blocks, block + index * size, 8);
      for (unsigned channel = 0; channel < 3; ++channel)
        appendLittleEndian(record, everyThirdBit(code, channel), 2);
    } else {
      record += blocks.substr(block + index * size, size);
    }
    block += points * size;
  }
  return record;
}

}  // namespace

std::vector<HierarchyChunk> readChunks(std::string_view hierarchy, std::uint64_t firstChunkSize) {
  std::vector<HierarchyChunk> chunks{readChunk(hierarchy, "r", 0, firstChunkSize)};
  for (std::size_t i = 0; i < chunks.size(); ++i) {
    for (std::size_t r = 1; r < chunks[i].records.size(); ++r) {
      const HierarchyRecord record = chunks[i].records[r];
      if (record.type == 2) {
        chunks.push_back(readChunk(hierarchy, chunks[i].reached[r], record.byteOffset, record.byteSize));
      }
    }
  }
  return chunks;
}

std::map<std::string, HierarchyRecord> nodesOf(const std::vector<HierarchyChunk>& chunks) {
  std::map<std::string, HierarchyRecord> nodes;
  for (const HierarchyChunk& chunk : chunks) {
    for (std::size_t r = 0; r < chunk.records.size(); ++r) {
      if (chunk.records[r].type != 2) nodes.emplace(chunk.reached[r], chunk.records[r]);
    }
  }
  return nodes;
}

WrittenOctree::WrittenOctree(const std::filesystem::path& folder)
    : metaData(nlohmann::json::parse(readFile(folder / "metadata.json"))),
      hierarchy(readFile(folder / "hierarchy.bin")),
      data(readFile(folder / "octree.bin")),
      chunks(readChunks(hierarchy, metaData.at("hierarchy").at("firstChunkSize").get<std::uint64_t>())),
      nodes(nodesOf(chunks)) {}

std::vector<std::string> WrittenOctree::pointsOf(const std::string& node) const {
  const HierarchyRecord& record = nodes.at(node);
  const std::string bytes = data.substr(record.byteOffset, record.byteSize);
  std::vector<std::string> points(record.numPoints);
  if (points.empty()) return points;
  if (metaData.at("encoding") == "DEFAULT") {
    const std::size_t stride = bytes.size() / points.size();
    for (std::size_t i = 0; i < points.size(); ++i) points[i] = bytes.substr(i * stride, stride);
    return points;
  }
  Core::ByteBuffer blocks;
  Core::brotliDecode(std::as_bytes(std::span(bytes)), std::size_t{1} << 28U, blocks);
  const std::string_view text(reinterpret_cast<const char*>(blocks.data.get()), blocks.size);
  for (std::size_t i = 0; i < points.size(); ++i) {
    points[i] = recordFromBlocks(metaData.at("attributes"), text, points.size(), i);
  }
  return points;
}

std::vector<std::string> WrittenOctree::allPoints() const {
  std::vector<std::string> all;
  for (const auto& [name, record] : nodes) {
    const std::vector<std::string> points = pointsOf(name);
    all.insert(all.end(), points.begin(), points.end());
  }
  std::sort(all.begin(), all.end());
  return all;
}

std::vector<std::string> splitRecords(const PointRecords& points) {
  const std::string bytes(reinterpret_cast<const char*>(points.records.data()), points.records.size());
  std::vector<std::string> records;
  for (std::size_t at = 0; at < bytes.size(); at += points.stride()) {
    records.push_back(bytes.substr(at, points.stride()));
  }
  return records;
}

std::array<std::int32_t, 3> positionOf(const std::string& record) {
  std::array<std::int32_t, 3> position{};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    position[axis] = static_cast<std::int32_t>(littleEndian(record, 4 * axis, 4));
  }
  return position;
}

Octree::OctreeNodeId nodeNamed(std::string_view name) {
  Octree::OctreeNodeId id;
  for (const char digit : name.substr(1)) id = id.child(static_cast<std::uint8_t>(digit - '0'));
  return id;
}

PoTree::MetaData plainMetaData(PoTree::Encoding encoding) {
  PoTree::MetaData metaData;
  metaData.name = "plain";
  metaData.scale = {0.01, 0.01, 0.01};
  metaData.spacing = 8;
  metaData.boundingBox = {{{0, 0, 0}}, {{1024, 1024, 1024}}};
  metaData.encoding = encoding;
  metaData.attributes = {makeAttribute("position", "int32", 3), makeAttribute("intensity", "uint16"),
                         makeAttribute("classification", "uint8"), makeAttribute("rgb", "uint16", 3)};
  return metaData;
}

std::vector<std::byte> plainRecords(const std::vector<std::array<std::int32_t, 3>>& positions) {
  std::string bytes;
  for (std::size_t i = 0; i < positions.size(); ++i) {
    for (const std::int32_t coordinate : positions[i]) {
      appendLittleEndian(bytes, static_cast<std::uint32_t>(coordinate), 4);
    }
    appendLittleEndian(bytes, 1000 + i, 2);
    appendLittleEndian(bytes, i % 12, 1);
    for (std::size_t channel = 0; channel < 3; ++channel)
      appendLittleEndian(bytes, 0x1234 + 999 * i + channel, 2);
  }
  const std::span<const std::byte> records = std::as_bytes(std::span(bytes));
  return {records.begin(), records.end()};
}

}  // namespace Testing
