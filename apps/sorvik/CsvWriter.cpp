#include "sorvik/CsvWriter.h"

#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>

namespace Program {
namespace {

using Sorvik::Span;

constexpr std::size_t kBufferSize = std::size_t{1} << 16U;
constexpr int kLongestNumber = 24;  // intensities, colours, classes, floats
constexpr std::size_t kLongestLine = 3 * CoordinateFormat::kLongest + 8 * kLongestNumber + 16;

/// The columns of a chunk, looked up once.
struct Columns {
  explicit Columns(const Sorvik::PointChunk& chunk)
      : positions(chunk.positions()),
        normals(chunk.normals()),
        colors(chunk.colors()),
        intensities(chunk.intensities()),
        classes(chunk.classIndices()) {}

  Span<const float> positions;
  Span<const float> normals;
  Span<const unsigned char> colors;
  Span<const unsigned short> intensities;
  Span<const unsigned char> classes;
};

template <class Number>
char* appendNumber(Number number, char* out) {
  *out++ = ',';
  return std::to_chars(out, out + kLongestNumber, number).ptr;
}

/// The columns behind the coordinates.
char* appendAttributes(const PointLayout& layout, const Columns& columns, std::uint64_t i, char* out) {
  if (layout.intensities) out = appendNumber(columns.intensities[i], out);
  if (layout.colors) {
    for (std::uint64_t channel = 0; channel < 3; ++channel) {
      out = appendNumber(columns.colors[4 * i + channel], out);
    }
  }
  if (layout.classification) out = appendNumber(columns.classes[i], out);
  if (layout.normals) {
    for (std::uint64_t axis = 0; axis < 3; ++axis) out = appendNumber(columns.normals[3 * i + axis], out);
  }
  return out;
}

std::string header(const PointLayout& layout) {
  std::string names = "x,y,z";
  if (layout.intensities) names += ",intensity";
  if (layout.colors) names += ",r,g,b";
  if (layout.classification) names += ",classification";
  if (layout.normals) names += ",nx,ny,nz";
  return names + '\n';
}

}  // namespace

CsvWriter::CsvWriter(const PointLayout& layout, Output& output)
    : layout_(layout),
      formats_{CoordinateFormat(layout.scale[0]), CoordinateFormat(layout.scale[1]),
               CoordinateFormat(layout.scale[2])},
      output_(&output),
      buffer_(kBufferSize) {
  for (const char c : header(layout)) buffer_[used_++] = c;
}

void CsvWriter::add(const Sorvik::PointChunk& chunk) {
  const Columns columns(chunk);
  const std::uint64_t count = chunk.size();
  for (std::uint64_t i = 0; i < count; ++i) {
    if (buffer_.size() - used_ < kLongestLine) flush();
    char* out = buffer_.data() + used_;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      if (axis != 0) *out++ = ',';
      const auto local = static_cast<double>(columns.positions[3 * i + axis]);
      out = formats_[axis].write(layout_.origin[axis] + local, out);
    }
    out = appendAttributes(layout_, columns, i, out);
    *out++ = '\n';
    used_ = static_cast<std::size_t>(out - buffer_.data());
  }
}

void CsvWriter::flush() {
  output_->write(std::string_view(buffer_.data(), used_));
  used_ = 0;
}

}  // namespace Program
