#include "converter/PosedScan.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <string_view>
#include <utility>

#include "core/ByteReader.h"
#include "core/LittleEndian.h"

namespace Converter {
namespace {

using Point = Math::Point<double, 3>;

/// The numbers of the attributes that make up a normal.
using NormalAttributes = std::array<std::size_t, 3>;

/// Nothing where one is missing, or they are not all of one floating-point type.
std::optional<NormalAttributes> findNormals(const std::vector<Math::Attribute>& attributes) {
  constexpr std::array<std::string_view, 3> kNames{"NormalX", "NormalY", "NormalZ"};
  NormalAttributes found{};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const auto place = std::find_if(attributes.begin(), attributes.end(),
                                    [&](const auto& attribute) { return attribute.name == kNames[axis]; });
    if (place == attributes.end() || place->numElements != 1) return std::nullopt;
    found[axis] = static_cast<std::size_t>(place - attributes.begin());
  }
  const Math::AttributeType type = attributes[found[0]].type;
  const bool isFloating = type == Math::AttributeType::Float || type == Math::AttributeType::Double;
  const bool isOneType = attributes[found[1]].type == type && attributes[found[2]].type == type;
  return isFloating && isOneType ? std::optional(found) : std::nullopt;
}

/// Turns one normal, whose elements stand at these places.
template <class T>
void turn(const Math::Pose& pose, const std::array<std::byte*, 3>& at) {
  Point normal;
  for (int axis = 0; axis < 3; ++axis) {
    normal[axis] = Core::loadLittleEndian<T>(at[static_cast<std::size_t>(axis)]);
  }
  normal = pose.rotate(normal);
  for (int axis = 0; axis < 3; ++axis) {
    Core::storeLittleEndian(at[static_cast<std::size_t>(axis)], static_cast<T>(normal[axis]));
  }
}

/// The box of the corners of a box in the other system. One that is not finite stays so.
Math::NBoundingBox<double, 3> turnedBox(const Math::NBoundingBox<double, 3>& box, const Math::Pose& pose) {
  Math::NBoundingBox<double, 3> turned;
  for (unsigned corner = 0; corner < 8; ++corner) {
    Point p;
    for (int axis = 0; axis < 3; ++axis) {
      p[axis] = (corner >> static_cast<unsigned>(axis) & 1U) != 0 ? box.maximum[axis] : box.minimum[axis];
    }
    turned.expand(pose.apply(p));
  }
  return turned;
}

class PosedScan final : public ScanReader {
 public:
  PosedScan(std::unique_ptr<ScanReader> scan, const Math::Pose& pose)
      : scan_(std::move(scan)),
        pose_(pose),
        info_(scan_->info()),
        normals_(findNormals(info_.attributes)),
        hasFloats_(normals_ && info_.attributes[normals_->front()].type == Math::AttributeType::Float) {
    info_.grid.reset();
    info_.statedBox = turnedBox(info_.statedBox, pose_);
    if (info_.projection.empty()) return;
    info_.projection.clear();
    info_.warnings.emplace_back("The coordinate system that it states is dropped, since a pose was applied.");
  }

  [[nodiscard]] const ScanInfo& info() const override { return info_; }
  [[nodiscard]] std::uint64_t numBlocks() const override { return scan_->numBlocks(); }
  [[nodiscard]] std::size_t mostPointsOf(std::uint64_t block) const override {
    return scan_->mostPointsOf(block);
  }

  std::size_t readBlock(std::uint64_t block, const RecordTarget& target,
                        BlockCoordinates& coordinates) const override {
    const std::size_t count = scan_->readBlock(block, target, coordinates);
    if (const auto& grid = scan_->info().grid) {
      coordinates.world.resize(count * 3);
      for (std::size_t i = 0; i < coordinates.world.size(); ++i) {
        coordinates.world[i] = coordinates.stored[i] * grid->scale[i % 3] + grid->offset[i % 3];
      }
      coordinates.stored.clear();
    }
    for (double* at = coordinates.world.data(); at != coordinates.world.data() + count * 3; at += 3) {
      const Point moved = pose_.apply({{at[0], at[1], at[2]}});
      std::copy_n(moved.coordinates, 3, at);
    }
    turnNormals(target, count);
    return count;
  }

  [[nodiscard]] std::vector<Point> sample(std::size_t count) const override {
    std::vector<Point> points = scan_->sample(count);
    for (Point& point : points) point = pose_.apply(point);
    return points;
  }

  [[nodiscard]] std::vector<std::string> remarks() const override { return scan_->remarks(); }

  void checkUnchanged() const override { scan_->checkUnchanged(); }

 private:
  void turnNormals(const RecordTarget& target, std::size_t count) const {
    if (!normals_) return;
    std::array<std::size_t, 3> offsets{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
      offsets[axis] = target.offsets[(*normals_)[axis]];
      if (offsets[axis] == RecordTarget::kUnwanted) return;
    }
    for (std::size_t p = 0; p < count; ++p) {
      std::byte* const record = target.records + p * target.stride;
      const std::array<std::byte*, 3> at{record + offsets[0], record + offsets[1], record + offsets[2]};
      hasFloats_ ? turn<float>(pose_, at) : turn<double>(pose_, at);
    }
  }

  std::unique_ptr<ScanReader> scan_;
  Math::Pose pose_;
  ScanInfo info_;
  std::optional<NormalAttributes> normals_;
  bool hasFloats_;
};

}  // namespace

std::unique_ptr<ScanReader> withPose(std::unique_ptr<ScanReader> scan, const Math::Pose& pose) {
  return std::make_unique<PosedScan>(std::move(scan), pose);
}

}  // namespace Converter
