#include "support/LasFile.h"

#include <algorithm>

namespace Testing {
namespace {

constexpr std::array<std::uint16_t, 11> kRecordLengths{20, 28, 26, 34, 57, 63, 30, 36, 38, 59, 67};

std::uint16_t headerSizeOf(std::uint8_t minor) {
  return minor >= 5 ? 393 : minor == 4 ? 375 : minor == 3 ? 235 : 227;
}

/// A text in a field of a fixed size.
std::string field(std::string text, std::size_t size) {
  text.resize(size);
  return text;
}

std::string recordHead(const std::string& userId, std::uint16_t recordId) {
  std::string head(2, '\0');
  head += field(userId, 16);
  put(head, head.size(), recordId);
  return head;
}

}  // namespace

LasFile::LasFile(std::uint8_t pointFormat)
    : pointFormat_(pointFormat),
      minor_(pointFormat >= 6 ? 4 : 2),
      recordLength_(kRecordLengths.at(pointFormat)) {}

LasFile& LasFile::minorVersion(std::uint8_t minor) {
  minor_ = minor;
  return *this;
}

LasFile& LasFile::headerSize(std::uint16_t size) {
  headerSize_ = size;
  return *this;
}

LasFile& LasFile::recordLength(std::uint16_t length) {
  recordLength_ = length;
  return *this;
}

LasFile& LasFile::scale(std::array<double, 3> scale) {
  scale_ = scale;
  return *this;
}

LasFile& LasFile::offset(std::array<double, 3> offset) {
  offset_ = offset;
  return *this;
}

LasFile& LasFile::globalEncoding(std::uint16_t bits) {
  globalEncoding_ = bits;
  return *this;
}

LasFile& LasFile::vlr(const std::string& userId, std::uint16_t recordId, const std::string& data) {
  std::string head = recordHead(userId, recordId);
  put(head, head.size(), static_cast<std::uint16_t>(data.size()));
  vlrs_ += field(head, 54) + data;
  ++numVlrs_;
  return *this;
}

LasFile& LasFile::evlr(const std::string& userId, std::uint16_t recordId, const std::string& data) {
  std::string head = recordHead(userId, recordId);
  put(head, head.size(), std::uint64_t{data.size()});
  evlrs_ += field(head, 60) + data;
  ++numEvlrs_;
  return *this;
}

LasFile& LasFile::gap(const std::string& bytes) {
  gap_ = bytes;
  return *this;
}

LasFile& LasFile::point(std::int32_t x, std::int32_t y, std::int32_t z) {
  std::string record;
  put(record, 0, x);
  put(record, 4, y);
  put(record, 8, z);
  return point(record);
}

LasFile& LasFile::point(const std::string& record) {
  records_.push_back(record);
  return *this;
}

LasFile& LasFile::points(std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) point(static_cast<std::int32_t>(i), 0, 0);
  return *this;
}

LasFile& LasFile::statedPoints(std::uint64_t count) {
  statedPoints_ = count;
  return *this;
}

LasFile& LasFile::tail(const std::string& bytes) {
  tail_ = bytes;
  return *this;
}

std::string LasFile::header(std::size_t pointOffset, std::size_t evlrOffset) const {
  const std::uint64_t count = statedPoints_.value_or(records_.size());
  std::string head = "LASF";
  put(head, 6, globalEncoding_);
  put(head, 24, std::uint8_t{1});
  put(head, 25, minor_);
  put(head, 94, headerSize_ == 0 ? headerSizeOf(minor_) : headerSize_);
  put(head, 96, static_cast<std::uint32_t>(pointOffset));
  put(head, 100, numVlrs_);
  put(head, 104, pointFormat_);
  put(head, 105, recordLength_);
  put(head, 107, pointFormat_ < 6 ? static_cast<std::uint32_t>(count) : 0U);
  for (std::size_t axis = 0; axis < 3; ++axis) {
    put(head, 131 + 8 * axis, scale_[axis]);
    put(head, 155 + 8 * axis, offset_[axis]);
  }
  head.resize(headerSizeOf(minor_));
  if (minor_ >= 4) {
    put(head, 235, std::uint64_t{numEvlrs_ == 0 ? 0 : evlrOffset});
    put(head, 243, numEvlrs_);
    put(head, 247, count);
  }
  head.resize(headerSize_ == 0 ? headerSizeOf(minor_) : headerSize_);
  return head;
}

std::string LasFile::bytes() const {
  std::string records;
  for (const std::string& record : records_) records += field(record, recordLength_);
  const std::size_t size = headerSize_ == 0 ? headerSizeOf(minor_) : headerSize_;
  const std::size_t pointOffset = size + vlrs_.size() + gap_.size();
  std::string file =
      header(pointOffset, pointOffset + records.size()) + vlrs_ + gap_ + records + evlrs_ + tail_;
  for (const Patch& patch : patches_) file.replace(patch.offset, patch.bytes.size(), patch.bytes);
  return file;
}

std::string extraBytesDescription(std::uint8_t type, const std::string& name, std::uint8_t options,
                                  std::array<double, 3> scale, std::array<double, 3> offset) {
  std::string description(192, '\0');
  put(description, 2, type);
  put(description, 3, options);
  description.replace(4, 32, field(name, 32));
  for (std::size_t axis = 0; axis < 3; ++axis) {
    put(description, 112 + 8 * axis, scale[axis]);
    put(description, 136 + 8 * axis, offset[axis]);
  }
  return description;
}

}  // namespace Testing
