#pragma once

#include "formats/PointWriter.h"

namespace Formats {

/// Points as a binary little-endian PLY file: double x, y, z, then "rgb" as red, green, blue, then the other
/// attributes in the layout's order. Normals are nx, ny, nz; other names have an underscore where PLY allows
/// no letter, and a number behind where there are several elements or the name is taken. PLY has no integers
/// of 64 bits: these, and scaled attributes, are written as the doubles that they stand for.
///
/// The header comes first and says how many points follow, in as many bytes for every number.
class PlyWriter final : public PointWriter {
 public:
  explicit PlyWriter(const PointFileLayout& layout);
  ~PlyWriter() override;

  [[nodiscard]] std::vector<std::byte> head() const override;
  [[nodiscard]] std::span<const std::byte> encode(const PointBatch& batch) override;

 private:
  struct Property;

  void addProperties(const Math::Attribute& attribute, std::size_t index);

  std::vector<Property> properties_;
  std::size_t recordSize_;
  std::uint64_t numPoints_ = 0;
  std::vector<std::byte> records_;
};

}  // namespace Formats
