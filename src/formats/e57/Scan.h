#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "math/BoundingBox.h"
#include "math/Point.h"

namespace Formats::E57 {

/// The standard's point fields, and the normals of the surface_normals extension. Those of the other
/// extensions are not read.
enum class Role : std::uint8_t {
  CartesianX,
  CartesianY,
  CartesianZ,
  CartesianInvalidState,
  SphericalRange,
  SphericalAzimuth,
  SphericalElevation,
  SphericalInvalidState,
  Intensity,
  IsIntensityInvalid,
  ColorRed,
  ColorGreen,
  ColorBlue,
  IsColorInvalid,
  RowIndex,
  ColumnIndex,
  ReturnIndex,
  ReturnCount,
  TimeStamp,
  IsTimeStampInvalid,
  NormalX,
  NormalY,
  NormalZ
};
inline constexpr std::size_t kNumRoles = 23;

enum class FieldType : std::uint8_t { Single, Double, Integer, ScaledInteger };

/// Least and largest value, both included.
struct ValueRange {
  double minimum = 0;
  double maximum = 0;

  /// Whether values can be told apart in it: finite, the maximum above the minimum.
  [[nodiscard]] bool usable() const;
  [[nodiscard]] bool contains(const ValueRange& other) const {
    return minimum <= other.minimum && other.maximum <= maximum;
  }
  void expand(const ValueRange& other);
  bool operator==(const ValueRange&) const = default;
};

/// How the values of one field are stored: each in `bits` bits of the field's byte stream. Integers are
/// stored less their minimum; value = raw * scale + offset.
struct PointField {
  Role role = Role::CartesianX;
  FieldType type = FieldType::Double;
  std::size_t stream = 0;  ///< the number of its byte stream in the packets
  unsigned bits = 64;      ///< 0 to 64
  std::int64_t minimum = 0;
  double scale = 1;
  double offset = 0;
  /// Of values, as the file states it; nothing where it leaves that open.
  std::optional<ValueRange> statedRange;
};

/// From a scan's coordinates to the file's: world = rotation * local + translation, metres.
struct Pose {
  std::array<double, 9> rotation{1, 0, 0, 0, 1, 0, 0, 0, 1};  ///< row by row
  std::array<double, 3> translation{};

  [[nodiscard]] bool rotates() const;
  /// The rotation of a quaternion w + xi + yj + zk of any length; nothing for one of length 0. All finite.
  [[nodiscard]] static std::optional<std::array<double, 9>> rotationOf(const std::array<double, 4>& wxyz);
  [[nodiscard]] Math::Point<double, 3> toWorld(const Math::Point<double, 3>& local) const;
};

/// One scan of a file, as its XML section describes it.
struct Scan {
  std::uint64_t number = 0;  ///< in the file, from 0
  Pose pose;
  std::optional<Math::NBoundingBox<double, 3>> cartesianBounds;  ///< as stated, before the pose
  std::optional<ValueRange> intensityLimits;                     ///< of the sensor, as stated
  std::optional<ValueRange> colorLimits;                         ///< of all three channels
  std::optional<double> acquisitionStart;                        ///< GPS time in seconds, above 0
  std::uint64_t recordCount = 0;
  std::uint64_t sectionOffset = 0;  ///< physical; nothing was checked
  std::size_t numStreams = 0;       ///< all fields of the prototype, known or not
  std::vector<PointField> fields;   ///< the known ones, each role once

  /// The place of a role in `fields`.
  [[nodiscard]] std::optional<std::size_t> find(Role role) const;
  [[nodiscard]] bool hasAll(std::initializer_list<Role> roles) const;
  [[nodiscard]] bool hasCartesian() const {
    return hasAll({Role::CartesianX, Role::CartesianY, Role::CartesianZ});
  }
  [[nodiscard]] bool hasSpherical() const {
    return hasAll({Role::SphericalRange, Role::SphericalAzimuth, Role::SphericalElevation});
  }
};

}  // namespace Formats::E57
