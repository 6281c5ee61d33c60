#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Testing {

/// One field of an E57 scan: its element in the prototype, and its values as stored bit patterns.
struct E57Field {
  std::string name;
  std::string attributes;  ///< of the element: type, precision, minimum, ...
  unsigned bits = 0;
  std::vector<std::uint64_t> stored;
};

[[nodiscard]] E57Field singleField(const std::string& name, const std::vector<float>& values);
[[nodiscard]] E57Field doubleField(const std::string& name, const std::vector<double>& values);
/// As wide as the limits ask for.
[[nodiscard]] E57Field integerField(const std::string& name, std::int64_t minimum, std::int64_t maximum,
                                    const std::vector<std::int64_t>& values);
/// @param scaling  further attributes: scale="0.001" offset="5".
[[nodiscard]] E57Field scaledField(const std::string& name, std::int64_t minimum, std::int64_t maximum,
                                   const std::string& scaling, const std::vector<std::int64_t>& raw);
/// cartesianX, cartesianY and cartesianZ.
[[nodiscard]] std::vector<E57Field> cartesianFields(const std::vector<double>& x,
                                                    const std::vector<double>& y,
                                                    const std::vector<double>& z);

/// One scan; its fields have as many values each.
struct E57Scan {
  std::vector<E57Field> fields;
  std::string elements;                      ///< XML beside the points: pose, limits, bounds
  std::optional<std::uint64_t> recordCount;  ///< stated, instead of the true one
  /// The most bytes of a stream in a packet; by default whole records that fill packets well.
  std::function<std::size_t(std::size_t packet, std::size_t stream)> pieceSize;
  /// Whole packets of other kinds to stand before a data packet.
  std::function<std::string(std::size_t packet)> before;
};

/// A small E57 file, valid unless told otherwise, without scans. Each call changes one thing. The section of
/// the first scan begins at kFirstSection, its first packet at kFirstPacket.
class E57File {
 public:
  static constexpr std::size_t kFirstSection = 48;
  static constexpr std::size_t kFirstPacket = 80;

  E57File& scan(E57Scan scan);
  /// Elements of the root beside `data3D`.
  E57File& rootElements(const std::string& xml);
  /// Instead of the XML that would be written.
  E57File& xml(const std::string& text);
  /// Changes bytes before the checksums are made; the offset is logical.
  E57File& patch(std::size_t logicalOffset, const std::string& bytes);
  /// Changes bytes of the finished file, whose checksums then are wrong.
  E57File& damage(std::size_t physicalOffset, const std::string& bytes);

  [[nodiscard]] std::string bytes() const;

 private:
  [[nodiscard]] std::string wholeXml(const std::vector<std::size_t>& sections) const;

  std::vector<E57Scan> scans_;
  std::string rootElements_;
  std::optional<std::string> xml_;
  std::vector<std::pair<std::size_t, std::string>> patches_;
  std::vector<std::pair<std::size_t, std::string>> damages_;
};

/// A packet of type 0 (index) or 2 (ignored) of a length that is a multiple of 4.
[[nodiscard]] std::string otherE57Packet(std::uint8_t type, std::size_t length);

/// The elements of a pose.
[[nodiscard]] std::string e57Pose(const std::string& wxyz, const std::string& xyz);

/// Cuts logical bytes into pages with their checksums.
[[nodiscard]] std::string e57Pages(std::string logical);

}  // namespace Testing
