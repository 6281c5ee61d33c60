#include "support/E57File.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <sstream>

#include "support/LasFile.h"

namespace Testing {
namespace {

constexpr std::size_t kPage = 1024;
constexpr std::size_t kContent = 1020;
constexpr std::size_t kMostOfPacket = 65'536;

std::size_t physical(std::size_t logical) { return logical / kContent * kPage + logical % kContent; }

/// CRC-32C by a table of bytes.
std::uint32_t checksum(const char* bytes, std::size_t size) {
  static constexpr auto kTable = [] {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t i = 0; i < 256; ++i) {
      table[i] = i;
      for (int bit = 0; bit < 8; ++bit) table[i] = table[i] / 2 ^ (table[i] % 2 != 0 ? 0x82F63B78U : 0U);
    }
    return table;
  }();
  std::uint32_t crc = 0xFFFFFFFF;
  for (std::size_t i = 0; i < size; ++i)
    crc = crc / 256 ^ kTable[(crc ^ static_cast<unsigned char>(bytes[i])) % 256];
  return crc ^ 0xFFFFFFFFU;
}

void putAt(std::string& bytes, std::size_t offset, const std::string& part) {
  if (bytes.size() < offset + part.size()) bytes.resize(offset + part.size());
  part.copy(bytes.data() + offset, part.size());
}

void align(std::string& bytes) { bytes.resize((bytes.size() + 3) / 4 * 4); }

/// All values of a field, without gaps, the lowest bit first.
std::string packed(const E57Field& field) {
  std::string bytes((field.stored.size() * field.bits + 7) / 8, '\0');
  std::size_t position = 0;
  for (const std::uint64_t value : field.stored) {
    for (unsigned done = 0; done < field.bits;) {
      const auto inside = static_cast<unsigned>(position % 8);
      const unsigned count = std::min(8 - inside, field.bits - done);
      const std::uint64_t part = value >> done & ((1U << count) - 1U);
      bytes[position / 8] =
          static_cast<char>(static_cast<unsigned char>(bytes[position / 8]) | part << inside);
      done += count;
      position += count;
    }
  }
  return bytes;
}

std::string dataPacket(const std::vector<std::string>& pieces) {
  std::string packet;
  put(packet, 0, std::uint8_t{1});
  put(packet, 4, static_cast<std::uint16_t>(pieces.size()));
  for (const std::string& piece : pieces)
    put(packet, packet.size(), static_cast<std::uint16_t>(piece.size()));
  for (const std::string& piece : pieces) packet += piece;
  align(packet);
  put(packet, 2, static_cast<std::uint16_t>(packet.size() - 1));
  return packet;
}

/// Whole records, a multiple of 8, that fill a packet well.
std::size_t recordsPerPacket(const E57Scan& scan) {
  std::size_t bits = 0;
  for (const E57Field& field : scan.fields) bits += field.bits;
  const std::size_t room = kMostOfPacket - 16 - 2 * scan.fields.size();
  return std::max<std::size_t>(room * 8 / std::max<std::size_t>(bits, 1) / 8 * 8, 8);
}

std::string packets(const E57Scan& scan) {
  std::vector<std::string> streams;
  for (const E57Field& field : scan.fields) streams.push_back(packed(field));
  const std::size_t records = recordsPerPacket(scan);
  std::vector<std::size_t> used(streams.size());  // bytes of each stream
  std::string all;
  for (std::size_t packet = 0;; ++packet) {
    if (scan.before) all += scan.before(packet);
    std::vector<std::string> pieces;
    bool isLast = true;
    for (std::size_t s = 0; s < streams.size(); ++s) {
      const std::string& stream = streams[s];
      const std::size_t most = scan.pieceSize ? scan.pieceSize(packet, s) : records * scan.fields[s].bits / 8;
      pieces.push_back(stream.substr(used[s], most));
      used[s] += pieces.back().size();
      isLast = isLast && used[s] == stream.size();
    }
    all += dataPacket(pieces);
    if (isLast) return all;
  }
}

/// At @p offset of the logical file.
std::string section(const E57Scan& scan, std::size_t offset) {
  const std::string content = packets(scan);
  std::string bytes;
  put(bytes, 0, std::uint64_t{1});
  put(bytes, 8, std::uint64_t{32 + content.size()});
  put(bytes, 16, std::uint64_t{physical(offset + 32)});
  put(bytes, 24, std::uint64_t{0});
  return bytes + content;
}

template <class Value>
E57Field bitField(const std::string& name, const std::string& attributes, const std::vector<Value>& values) {
  E57Field field{name, attributes, 8 * sizeof(Value), {}};
  for (const Value value : values) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof(Value));
    field.stored.push_back(bits);
  }
  return field;
}

}  // namespace

E57Field singleField(const std::string& name, const std::vector<float>& values) {
  return bitField(name, R"(type="Float" precision="single")", values);
}

E57Field doubleField(const std::string& name, const std::vector<double>& values) {
  return bitField(name, R"(type="Float")", values);
}

E57Field integerField(const std::string& name, std::int64_t minimum, std::int64_t maximum,
                      const std::vector<std::int64_t>& values) {
  const auto base = static_cast<std::uint64_t>(minimum);
  const auto bits = static_cast<unsigned>(std::bit_width(static_cast<std::uint64_t>(maximum) - base));
  E57Field field{name,
                 R"(type="Integer" minimum=")" + std::to_string(minimum) + R"(" maximum=")" +
                     std::to_string(maximum) + '"',
                 bits,
                 {}};
  for (const std::int64_t value : values) field.stored.push_back(static_cast<std::uint64_t>(value) - base);
  return field;
}

E57Field scaledField(const std::string& name, std::int64_t minimum, std::int64_t maximum,
                     const std::string& scaling, const std::vector<std::int64_t>& raw) {
  E57Field field = integerField(name, minimum, maximum, raw);
  field.attributes.replace(0, std::strlen(R"(type="Integer")"), R"(type="ScaledInteger" )" + scaling);
  return field;
}

std::vector<E57Field> cartesianFields(const std::vector<double>& x, const std::vector<double>& y,
                                      const std::vector<double>& z) {
  return {doubleField("cartesianX", x), doubleField("cartesianY", y), doubleField("cartesianZ", z)};
}

E57File& E57File::scan(E57Scan scan) {
  scans_.push_back(std::move(scan));
  return *this;
}

E57File& E57File::rootElements(const std::string& xml) {
  rootElements_ += xml;
  return *this;
}

E57File& E57File::xml(const std::string& text) {
  xml_ = text;
  return *this;
}

E57File& E57File::patch(std::size_t logicalOffset, const std::string& bytes) {
  patches_.emplace_back(logicalOffset, bytes);
  return *this;
}

E57File& E57File::damage(std::size_t physicalOffset, const std::string& bytes) {
  damages_.emplace_back(physicalOffset, bytes);
  return *this;
}

std::string E57File::wholeXml(const std::vector<std::size_t>& sections) const {
  std::ostringstream xml;
  xml << R"(<?xml version="1.0" encoding="UTF-8"?>)"
      << R"(<e57Root type="Structure" xmlns="http://www.astm.org/COMMIT/E57/2010-e57-v1.0")"
      << R"( xmlns:nor="http://www.libe57.org/E57_NOR_surface_normals.txt" xmlns:ext="http://example.org/ext">)"
      << rootElements_ << R"(<data3D type="Vector" allowHeterogeneousChildren="1">)";
  for (std::size_t i = 0; i < scans_.size(); ++i) {
    const E57Scan& scan = scans_[i];
    const std::size_t records = scan.fields.empty() ? 0 : scan.fields.front().stored.size();
    xml << R"(<vectorChild type="Structure">)" << scan.elements
        << R"(<points type="CompressedVector" fileOffset=")" << physical(sections[i]) << R"(" recordCount=")"
        << scan.recordCount.value_or(records) << R"("><prototype type="Structure">)";
    for (const E57Field& field : scan.fields) xml << '<' << field.name << ' ' << field.attributes << "/>";
    xml << R"(</prototype><codecs type="Vector" allowHeterogeneousChildren="1"/></points></vectorChild>)";
  }
  xml << "</data3D></e57Root>";
  return xml.str();
}

std::string E57File::bytes() const {
  std::string logical(kFirstSection, '\0');
  std::vector<std::size_t> sections;
  for (const E57Scan& scan : scans_) {
    align(logical);
    sections.push_back(logical.size());
    logical += section(scan, logical.size());
  }
  const std::size_t xmlOffset = logical.size();
  const std::string xml = xml_ ? *xml_ : wholeXml(sections);
  logical += xml;
  logical.resize((logical.size() + kContent - 1) / kContent * kContent);
  putAt(logical, 0, "ASTM-E57");
  put(logical, 8, std::uint32_t{1});
  put(logical, 16, std::uint64_t{logical.size() / kContent * kPage});
  put(logical, 24, std::uint64_t{physical(xmlOffset)});
  put(logical, 32, std::uint64_t{xml.size()});
  put(logical, 40, std::uint64_t{kPage});
  for (const auto& [offset, bytes] : patches_) putAt(logical, offset, bytes);
  std::string file = e57Pages(std::move(logical));
  for (const auto& [offset, bytes] : damages_) putAt(file, offset, bytes);
  return file;
}

std::string otherE57Packet(std::uint8_t type, std::size_t length) {
  std::string packet(length, '\0');
  put(packet, 0, type);
  put(packet, 2, static_cast<std::uint16_t>(length - 1));
  return packet;
}

std::string e57Pose(const std::string& wxyz, const std::string& xyz) {
  const auto elements = [](const std::string& names, const std::string& values) {
    std::istringstream list(values);
    std::string xml;
    std::string value;
    for (const char name : names) {
      list >> value;
      xml += std::string("<") + name + R"( type="Float">)" + value + "</" + name + '>';
    }
    return xml;
  };
  return R"(<pose type="Structure"><rotation type="Structure">)" + elements("wxyz", wxyz) +
         R"(</rotation><translation type="Structure">)" + elements("xyz", xyz) + "</translation></pose>";
}

std::string e57Pages(std::string logical) {
  logical.resize((logical.size() + kContent - 1) / kContent * kContent);
  std::string file;
  file.reserve(logical.size() / kContent * kPage);
  for (std::size_t page = 0; page < logical.size(); page += kContent) {
    file.append(logical, page, kContent);
    const std::uint32_t crc = checksum(logical.data() + page, kContent);
    for (int shift = 24; shift >= 0; shift -= 8) file.push_back(static_cast<char>(crc >> shift & 0xFFU));
  }
  return file;
}

}  // namespace Testing
