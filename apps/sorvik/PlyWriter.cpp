#include "sorvik/PlyWriter.h"

#include <bit>
#include <cstddef>
#include <limits>
#include <type_traits>

namespace Program {
namespace {

/// Of the same length for every count: what the number leaves is filled up in a comment.
std::string header(const PointLayout& layout, std::uint64_t numPoints) {
  const std::string count = std::to_string(numPoints);
  const std::size_t filling = std::numeric_limits<std::uint64_t>::digits10 + 1 - count.size();
  std::string text =
      "ply\nformat binary_little_endian 1.0\ncomment written by sorvik" + std::string(filling, '.');
  text += "\nelement vertex " + count + "\nproperty double x\nproperty double y\nproperty double z\n";
  if (layout.colors) text += "property uchar red\nproperty uchar green\nproperty uchar blue\n";
  if (layout.intensities) text += "property ushort intensity\n";
  if (layout.classification) text += "property uchar classification\n";
  if (layout.normals) text += "property float nx\nproperty float ny\nproperty float nz\n";
  return text + "end_header\n";
}

template <std::size_t Size>
using UnsignedOf = std::conditional_t<
    Size == 8, std::uint64_t,
    std::conditional_t<Size == 4, std::uint32_t, std::conditional_t<Size == 2, std::uint16_t, std::uint8_t>>>;

/// Little-endian, on any machine.
template <class Number>
void append(Number number, std::string& out) {
  const auto bits = std::bit_cast<UnsignedOf<sizeof(Number)>>(number);
  for (unsigned shift = 0; shift < 8 * sizeof(Number); shift += 8) {
    out += static_cast<char>(bits >> shift & 0xFFU);
  }
}

}  // namespace

PlyWriter::PlyWriter(const PointLayout& layout, OutputFile& file) : layout_(layout), file_(&file) {
  file_->output().write(header(layout_, 0));
}

void PlyWriter::add(const Sorvik::PointChunk& chunk) {
  const auto positions = chunk.positions();
  const auto colors = chunk.colors();
  const auto intensities = chunk.intensities();
  const auto classes = chunk.classIndices();
  const auto normals = chunk.normals();
  const std::uint64_t count = chunk.size();
  buffer_.clear();
  for (std::uint64_t i = 0; i < count; ++i) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      append(layout_.origin[axis] + static_cast<double>(positions[3 * i + axis]), buffer_);
    }
    if (layout_.colors) {
      for (std::uint64_t channel = 0; channel < 3; ++channel) append(colors[4 * i + channel], buffer_);
    }
    if (layout_.intensities) append(intensities[i], buffer_);
    if (layout_.classification) append(classes[i], buffer_);
    if (layout_.normals) {
      for (std::uint64_t axis = 0; axis < 3; ++axis) append(normals[3 * i + axis], buffer_);
    }
  }
  file_->output().write(buffer_);
  numPoints_ += count;
}

void PlyWriter::finish() { file_->overwriteStart(header(layout_, numPoints_)); }

}  // namespace Program
