#include "formats/projects/ZipFile.h"

#include "support/LasFile.h"

namespace Testing {
namespace {

/// The checksum of ZIP archives (ISO 3309), bit by bit.
std::uint32_t crc32(const std::string& bytes) {
  std::uint32_t crc = 0xFFFFFFFF;
  for (const char c : bytes) {
    crc ^= static_cast<unsigned char>(c);
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1U) ^ ((crc & 1U) != 0 ? 0xEDB88320U : 0U);
  }
  return ~crc;
}

template <class T>
void append(std::string& bytes, T value) {
  put(bytes, bytes.size(), value);
}

}  // namespace

ZipFile& ZipFile::entry(const std::string& name, const std::string& content) {
  return oddEntry(name, content, {.size = static_cast<std::uint32_t>(content.size())});
}

ZipFile& ZipFile::oddEntry(const std::string& name, const std::string& content, const Claims& claims) {
  std::string facts;  // as they stand in both heads
  append(facts, std::uint16_t{20});
  append(facts, claims.flags);
  append(facts, claims.method);
  append(facts, std::uint32_t{0x00210000});  // 1980-01-01
  append(facts, crc32(content) + claims.crcError);
  append(facts, static_cast<std::uint32_t>(content.size()));
  append(facts, claims.size);
  append(facts, static_cast<std::uint16_t>(name.size()));
  append(facts, std::uint16_t{0});

  const auto offset = static_cast<std::uint32_t>(entries_.size());
  append(entries_, std::uint32_t{0x04034B50});
  entries_ += facts + name + content;

  append(directory_, std::uint32_t{0x02014B50});
  append(directory_, std::uint16_t{20});
  directory_ += facts + std::string(10, '\0');
  append(directory_, offset);
  directory_ += name;
  ++count_;
  return *this;
}

std::string ZipFile::bytes() const {
  std::string bytes = entries_ + directory_;
  append(bytes, std::uint32_t{0x06054B50});
  append(bytes, std::uint32_t{0});
  append(bytes, count_);
  append(bytes, count_);
  append(bytes, static_cast<std::uint32_t>(directory_.size()));
  append(bytes, static_cast<std::uint32_t>(entries_.size()));
  append(bytes, std::uint16_t{0});
  return bytes;
}

}  // namespace Testing
