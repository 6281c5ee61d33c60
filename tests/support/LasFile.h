#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

namespace Testing {

/// Writes @p value little-endian over the bytes at @p offset, growing @p bytes where they end before.
template <class T>
void put(std::string& bytes, std::size_t offset, T value) {
  if (bytes.size() < offset + sizeof(T)) bytes.resize(offset + sizeof(T));
  std::memcpy(bytes.data() + offset, &value, sizeof(T));
}

/// A small LAS file, valid unless told otherwise: LAS 1.2, or 1.4 from point format 6 on, scale 0.01, offset
/// 0, no points. Each call changes one thing.
class LasFile {
 public:
  explicit LasFile(std::uint8_t pointFormat = 0);

  LasFile& minorVersion(std::uint8_t minor);
  LasFile& headerSize(std::uint16_t size);
  /// Makes records longer (extra bytes), or too short.
  LasFile& recordLength(std::uint16_t length);
  LasFile& scale(std::array<double, 3> scale);
  LasFile& offset(std::array<double, 3> offset);
  LasFile& globalEncoding(std::uint16_t bits);
  LasFile& vlr(const std::string& userId, std::uint16_t recordId, const std::string& data);
  LasFile& evlr(const std::string& userId, std::uint16_t recordId, const std::string& data);
  /// Bytes between the last VLR and the points.
  LasFile& gap(const std::string& bytes);
  /// A point record: X, Y, Z, and zeros behind them unless @p record goes on.
  LasFile& point(std::int32_t x, std::int32_t y, std::int32_t z);
  LasFile& point(const std::string& record);
  /// @p count points whose X is their index.
  LasFile& points(std::size_t count);
  /// States another number of points than there are.
  LasFile& statedPoints(std::uint64_t count);
  /// Bytes at the end of the file.
  LasFile& tail(const std::string& bytes);
  /// Writes a value over the finished file's bytes.
  template <class T>
  LasFile& patch(std::size_t offset, T value) {
    std::string bytes;
    put(bytes, 0, value);
    patches_.push_back({offset, bytes});
    return *this;
  }

  [[nodiscard]] std::string bytes() const;

 private:
  struct Patch {
    std::size_t offset;
    std::string bytes;
  };

  [[nodiscard]] std::string header(std::size_t pointOffset, std::size_t evlrOffset) const;

  std::uint8_t pointFormat_;
  std::uint8_t minor_;
  std::uint16_t headerSize_ = 0;
  std::uint16_t recordLength_;
  std::array<double, 3> scale_{0.01, 0.01, 0.01};
  std::array<double, 3> offset_{};
  std::uint16_t globalEncoding_ = 0;
  std::string vlrs_;
  std::uint32_t numVlrs_ = 0;
  std::string evlrs_;
  std::uint32_t numEvlrs_ = 0;
  std::string gap_;
  std::vector<std::string> records_;
  std::optional<std::uint64_t> statedPoints_;
  std::string tail_;
  std::vector<Patch> patches_;
};

/// One description of an extra-bytes record: 192 bytes.
[[nodiscard]] std::string extraBytesDescription(std::uint8_t type, const std::string& name,
                                                std::uint8_t options = 0, std::array<double, 3> scale = {},
                                                std::array<double, 3> offset = {});

}  // namespace Testing
