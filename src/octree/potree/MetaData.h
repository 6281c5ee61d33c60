#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "math/BoundingBox.h"

namespace PoTree {

enum class Encoding { Uncompressed, Brotli };

/// One entry of the attribute list.
struct Attribute {
  std::string name;
  std::string description;
  std::int32_t size = 0;  ///< bytes a point in uncompressed data
  std::int32_t numElements = 0;
  std::int32_t elementSize = 0;
  std::string type;         ///< "int8" to "uint64", "float", "double", or what the writer called it
  std::vector<double> min;  ///< one value an element, or empty
  std::vector<double> max;
  std::vector<std::uint64_t> histogram;  ///< counts by value, for one-byte attributes; or empty
  std::vector<double> scale;             ///< value = stored * scale + offset; one value an element, or empty
  std::vector<double> offset;

  bool operator==(const Attribute&) const = default;
};

/// Which attributes are stored in the form that the decoder reads.
struct StoredAttributes {
  bool positions = false;
  bool colors = false;
  bool intensities = false;
  bool classification = false;
  bool visibility = false;
  bool normals = false;

  bool operator==(const StoredAttributes&) const = default;
};

/// The content of a metadata.json of version 2.
struct MetaData {
  std::string version;
  std::string name;
  std::string description;
  std::string projection;
  std::uint64_t points = 0;
  std::uint64_t firstChunkSize = 0;  ///< bytes of the root's hierarchy chunk, which stands at offset 0
  std::array<double, 3> offset{};    ///< world = stored integer * scale + offset
  std::array<double, 3> scale{};
  double spacing = 0;                         ///< of the root; halves with each level
  Math::NBoundingBox<double, 3> boundingBox;  ///< the root's cube, in world coordinates
  Encoding encoding = Encoding::Uncompressed;
  std::vector<Attribute> attributes;  ///< in the order of the data

  std::uint64_t bytesPerPoint = 0;  ///< the attributes' sizes, added
  StoredAttributes stored;
  std::array<std::uint16_t, 2> intensityRange{0, 65535};

  /// The attribute of that name; null when there is none.
  [[nodiscard]] const Attribute* find(std::string_view attributeName) const;
  /// The same, if the decoder knows the name and the attribute is stored in the form that it reads.
  [[nodiscard]] const Attribute* findReadable(std::string_view attributeName) const;

  bool operator==(const MetaData&) const = default;
};

/// Whether an octree must hold positions: one that only adds attributes to another's points need not.
enum class MetaDataUse { Main, ExternalAttributes };

/// Reads a metadata.json. Pure.
/// @param source  file or URL, for messages.
/// @throws Core::FormatError naming source and key when the text is not JSON, a key is missing, of the wrong
///         type or out of range, or version or encoding is not supported.
[[nodiscard]] MetaData parseMetaData(std::string_view text, std::string_view source, MetaDataUse use);

}  // namespace PoTree
