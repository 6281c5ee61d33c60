#include "formats/e57/PointDecoder.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <span>
#include <utility>

#include "formats/e57/Angles.h"
#include "formats/e57/FieldValues.h"

namespace Formats::E57 {
namespace {

constexpr std::size_t kAbsent = SIZE_MAX;
// Records decoded at a time: their values stay in the nearest cache.
constexpr std::size_t kBatch = 1024;

using Values = std::array<double, kBatch>;

// Adjusted standard time counts from this second of GPS time on (LAS 1.4, global encoding).
constexpr double kAdjustedStandardTime = 1e9;

struct Description {
  const char* name;
  Math::AttributeType type;
  std::uint32_t numElements;
};

constexpr std::array<Description, kNumPointAttributes> kDescriptions{
    {{"intensity", Math::AttributeType::UInt16, 1},
     {"return number", Math::AttributeType::UInt8, 1},
     {"number of returns", Math::AttributeType::UInt8, 1},
     {"gps-time", Math::AttributeType::Double, 1},
     {"timeStamp", Math::AttributeType::Double, 1},
     {"rgb", Math::AttributeType::UInt16, 3},
     {"NormalX", Math::AttributeType::Double, 1},
     {"NormalY", Math::AttributeType::Double, 1},
     {"NormalZ", Math::AttributeType::Double, 1},
     {"rowIndex", Math::AttributeType::UInt32, 1},
     {"columnIndex", Math::AttributeType::UInt32, 1},
     {"ScanIndex", Math::AttributeType::UInt32, 1}}};

constexpr std::array kPositionRoles{
    Role::CartesianX,     Role::CartesianY,       Role::CartesianZ,         Role::CartesianInvalidState,
    Role::SphericalRange, Role::SphericalAzimuth, Role::SphericalElevation, Role::SphericalInvalidState};

/// The fields that an attribute is made of; the flag of invalid ones, which may be absent, last.
std::span<const Role> rolesOf(PointAttribute attribute) {
  static constexpr std::array kIntensity{Role::Intensity, Role::IsIntensityInvalid};
  static constexpr std::array kTime{Role::TimeStamp, Role::IsTimeStampInvalid};
  static constexpr std::array kColor{Role::ColorRed, Role::ColorGreen, Role::ColorBlue, Role::IsColorInvalid};
  static constexpr std::array kNormal{Role::NormalX, Role::NormalY, Role::NormalZ};
  static constexpr std::array kReturnNumber{Role::ReturnIndex};
  static constexpr std::array kReturnCount{Role::ReturnCount};
  static constexpr std::array kRow{Role::RowIndex};
  static constexpr std::array kColumn{Role::ColumnIndex};
  switch (attribute) {
    case PointAttribute::Intensity:
      return kIntensity;
    case PointAttribute::ReturnNumber:
      return kReturnNumber;
    case PointAttribute::NumberOfReturns:
      return kReturnCount;
    case PointAttribute::GpsTime:
    case PointAttribute::TimeStamp:
      return kTime;
    case PointAttribute::Rgb:
      return kColor;
    case PointAttribute::NormalX:
    case PointAttribute::NormalY:
    case PointAttribute::NormalZ:
      return kNormal;
    case PointAttribute::RowIndex:
      return kRow;
    case PointAttribute::ColumnIndex:
      return kColumn;
    case PointAttribute::ScanIndex:
      break;
  }
  return {};
}

/// States and flags are whole numbers, 0 for valid, whatever the type of their field.
bool isValid(double state) { return std::abs(state) < 0.5; }

template <class Integer>
Integer clamped(double value) {
  constexpr double kMost = std::numeric_limits<Integer>::max();
  if (!(value > 0)) return 0;
  return value < kMost ? static_cast<Integer>(std::floor(value + 0.5)) : std::numeric_limits<Integer>::max();
}

}  // namespace

Math::Attribute describe(PointAttribute attribute) {
  const Description& description = kDescriptions.at(static_cast<std::size_t>(attribute));
  Math::Attribute result;
  result.name = description.name;
  result.type = description.type;
  result.numElements = description.numElements;
  return result;
}

bool holds(const Scan& scan, PointAttribute attribute) {
  if (attribute == PointAttribute::GpsTime && !scan.acquisitionStart) return false;
  if (attribute == PointAttribute::TimeStamp && scan.acquisitionStart) return false;
  const std::span<const Role> roles = rolesOf(attribute);
  return std::all_of(roles.begin(), roles.end(), [&](Role role) {
    const bool isFlag =
        role == Role::IsIntensityInvalid || role == Role::IsTimeStampInvalid || role == Role::IsColorInvalid;
    return isFlag || scan.find(role).has_value();
  });
}

/// A few records, of which the valid ones are given out.
class PointDecoder::Batch {
 public:
  Batch(const PointDecoder& decoder, const Columns& columns, std::size_t first, std::size_t count)
      : decoder_(decoder), columns_(columns), first_(first), count_(count) {}

  /// Finds the points among the records and writes where they are.
  std::size_t place(double* world, DroppedPoints& dropped) {
    const bool hasCartesian = decoder_.scan_.hasCartesian();
    if (hasCartesian) readCartesian();
    isValid_.fill(hasCartesian ? 1 : 0);
    if (hasCartesian) dropFlagged(Role::CartesianInvalidState);
    if (decoder_.scan_.hasSpherical()) completeBySpherical();
    return decoder_.scan_.pose.rotates() ? keep<true>(world, dropped) : keep<false>(world, dropped);
  }

  /// Writes an attribute of the points that were found.
  void write(PointAttribute attribute, std::byte* out, std::size_t stride) {
    switch (attribute) {
      case PointAttribute::Intensity:
        return writeScaled({Role::Intensity}, Role::IsIntensityInvalid, decoder_.intensityScale_, out,
                           stride);
      case PointAttribute::ReturnNumber:
        return writeNumbers(Role::ReturnIndex, out, stride,
                            [](double v) { return clamped<std::uint8_t>(v + 1); });
      case PointAttribute::NumberOfReturns:
        return writeNumbers(Role::ReturnCount, out, stride, clamped<std::uint8_t>);
      case PointAttribute::GpsTime:
        return writeTimes(*decoder_.scan_.acquisitionStart - kAdjustedStandardTime, out, stride);
      case PointAttribute::TimeStamp:
        return writeTimes(0, out, stride);
      case PointAttribute::Rgb:
        return writeScaled({Role::ColorRed, Role::ColorGreen, Role::ColorBlue}, Role::IsColorInvalid,
                           decoder_.colorScale_, out, stride);
      case PointAttribute::NormalX:
        return writeNormals(0, out, stride);
      case PointAttribute::NormalY:
        return writeNormals(1, out, stride);
      case PointAttribute::NormalZ:
        return writeNormals(2, out, stride);
      case PointAttribute::RowIndex:
        return writeNumbers(Role::RowIndex, out, stride, clamped<std::uint32_t>);
      case PointAttribute::ColumnIndex:
        return writeNumbers(Role::ColumnIndex, out, stride, clamped<std::uint32_t>);
      case PointAttribute::ScanIndex:
        return writeEach(out, stride,
                         [this](std::size_t) { return static_cast<std::uint32_t>(decoder_.scan_.number); });
    }
  }

 private:
  [[nodiscard]] bool has(Role role) const { return field(role) != kAbsent; }
  [[nodiscard]] std::size_t field(Role role) const {
    return decoder_.fields_[static_cast<std::size_t>(role)];
  }

  /// The values of all records of the batch.
  void read(Role role, Values& values) const {
    const std::size_t place = field(role);
    decodeValues(decoder_.scan_.fields[place], columns_[place], first_, count_, values.data());
  }

  /// Those of the points alone.
  void readPoints(Role role, Values& values) const {
    read(role, values);
    if (numPoints_ == count_) return;
    for (std::size_t p = 0; p < numPoints_; ++p) values[p] = values[points_[p]];
  }

  void readCartesian() {
    read(Role::CartesianX, x_);
    read(Role::CartesianY, y_);
    read(Role::CartesianZ, z_);
  }

  void dropFlagged(Role state) {
    if (!has(state)) return;
    read(state, scratch_);
    for (std::size_t i = 0; i < count_; ++i) isValid_[i] = isValid(scratch_[i]) ? 1 : 0;
  }

  /// Where Cartesian coordinates are not valid.
  void completeBySpherical() {
    Values range;
    Values azimuth;
    Values elevation;
    const bool hasStates = has(Role::SphericalInvalidState);
    if (hasStates) read(Role::SphericalInvalidState, scratch_);
    read(Role::SphericalRange, range);
    read(Role::SphericalAzimuth, azimuth);
    read(Role::SphericalElevation, elevation);
    for (std::size_t i = 0; i < count_; ++i) {
      if (isValid_[i] != 0 || (hasStates && !isValid(scratch_[i]))) continue;
      const SineCosine plan = sineCosine(azimuth[i]);
      const SineCosine up = sineCosine(elevation[i]);
      x_[i] = range[i] * up.cosine * plan.cosine;
      y_[i] = range[i] * up.cosine * plan.sine;
      z_[i] = range[i] * up.sine;
      isValid_[i] = 1;
    }
  }

  template <bool rotates>
  std::size_t keep(double* world, DroppedPoints& dropped) {
    const Pose& pose = decoder_.scan_.pose;
    numPoints_ = 0;
    for (std::size_t i = 0; i < count_; ++i) {
      if (isValid_[i] == 0) {
        ++dropped.invalid;
        continue;
      }
      Math::Point<double, 3> point{{x_[i], y_[i], z_[i]}};
      if constexpr (rotates) {
        point = pose.toWorld(point);
      } else {
        for (int axis = 0; axis < 3; ++axis) point[axis] += pose.translation[static_cast<std::size_t>(axis)];
      }
      if (!std::isfinite(point[0]) || !std::isfinite(point[1]) || !std::isfinite(point[2])) {
        ++dropped.notFinite;
        continue;
      }
      std::copy_n(point.coordinates, 3, world + 3 * numPoints_);
      points_[numPoints_++] = static_cast<std::uint16_t>(i);
    }
    return numPoints_;
  }

  template <class ValueAt>
  void writeEach(std::byte* out, std::size_t stride, const ValueAt& valueAt) const {
    for (std::size_t p = 0; p < numPoints_; ++p, out += stride) {
      const auto value = valueAt(p);
      std::memcpy(out, &value, sizeof value);
    }
  }

  /// Makes values whose flag is set those of `invalid`.
  void clearFlagged(Role flag, double invalid, Values& values) {
    if (!has(flag)) return;
    readPoints(flag, scratch_);
    for (std::size_t p = 0; p < numPoints_; ++p) values[p] = isValid(scratch_[p]) ? values[p] : invalid;
  }

  void writeScaled(std::initializer_list<Role> roles, Role flag, const ValueScale& scale, std::byte* out,
                   std::size_t stride) {
    for (const Role role : roles) {
      readPoints(role, x_);
      clearFlagged(flag, std::numeric_limits<double>::quiet_NaN(), x_);
      writeEach(out, stride, [&](std::size_t p) { return scale(x_[p]); });
      out += sizeof(std::uint16_t);
    }
  }

  template <class Convert>
  void writeNumbers(Role role, std::byte* out, std::size_t stride, const Convert& convert) {
    readPoints(role, x_);
    writeEach(out, stride, [&](std::size_t p) { return convert(x_[p]); });
  }

  void writeTimes(double start, std::byte* out, std::size_t stride) {
    readPoints(Role::TimeStamp, x_);
    for (std::size_t p = 0; p < numPoints_; ++p) x_[p] += start;
    clearFlagged(Role::IsTimeStampInvalid, 0, x_);
    writeEach(out, stride, [&](std::size_t p) { return x_[p]; });
  }

  void writeNormals(std::size_t axis, std::byte* out, std::size_t stride) {
    readPoints(Role::NormalX, x_);
    readPoints(Role::NormalY, y_);
    readPoints(Role::NormalZ, z_);
    const double* const row = decoder_.scan_.pose.rotation.data() + 3 * axis;
    writeEach(out, stride, [&](std::size_t p) { return row[0] * x_[p] + row[1] * y_[p] + row[2] * z_[p]; });
  }

  const PointDecoder& decoder_;
  const Columns& columns_;
  std::size_t first_;
  std::size_t count_;
  std::size_t numPoints_ = 0;
  std::array<std::uint16_t, kBatch> points_;  // their numbers among the records
  std::array<char, kBatch> isValid_;
  // Coordinates until the points are placed, then whatever is at hand.
  Values x_;
  Values y_;
  Values z_;
  Values scratch_;
};

PointDecoder::PointDecoder(Scan scan, const ValueScale& intensityScale, const ValueScale& colorScale)
    : scan_(std::move(scan)), intensityScale_(intensityScale), colorScale_(colorScale) {
  for (std::size_t role = 0; role < kNumRoles; ++role) {
    fields_[role] = scan_.find(static_cast<Role>(role)).value_or(kAbsent);
  }
}

std::vector<char> PointDecoder::wanted(const PointTarget& target) const {
  std::vector<char> wanted(scan_.fields.size(), 0);
  const auto want = [&](Role role) {
    const std::size_t field = fields_[static_cast<std::size_t>(role)];
    if (field != kAbsent) wanted[field] = 1;
  };
  for (const Role role : kPositionRoles) want(role);
  for (std::size_t a = 0; a < kNumPointAttributes; ++a) {
    if (target.offsets[a] == PointTarget::kUnwanted) continue;
    for (const Role role : rolesOf(static_cast<PointAttribute>(a))) want(role);
  }
  return wanted;
}

std::size_t PointDecoder::decode(const Columns& columns, std::size_t count, double* world,
                                 const PointTarget& target, DroppedPoints& dropped) const {
  std::size_t numPoints = 0;
  for (std::size_t first = 0; first < count; first += kBatch) {
    Batch batch(*this, columns, first, std::min(kBatch, count - first));
    const std::size_t placed = batch.place(world + 3 * numPoints, dropped);
    for (std::size_t a = 0; a < kNumPointAttributes; ++a) {
      if (target.offsets[a] == PointTarget::kUnwanted) continue;
      const auto attribute = static_cast<PointAttribute>(a);
      std::byte* const out = target.records + numPoints * target.stride + target.offsets[a];
      if (holds(scan_, attribute)) {
        batch.write(attribute, out, target.stride);
      } else {
        const std::size_t size = describe(attribute).size();
        for (std::size_t p = 0; p < placed; ++p) std::memset(out + p * target.stride, 0, size);
      }
    }
    numPoints += placed;
  }
  return numPoints;
}

}  // namespace Formats::E57
