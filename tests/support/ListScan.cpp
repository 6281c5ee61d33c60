#include "support/ListScan.h"

#include <algorithm>
#include <cstring>

#include "converter/ConversionError.h"

namespace Testing {
namespace {

Math::Point<double, 3> worldOf(const ScanContent& content, std::size_t point) {
  Math::Point<double, 3> world;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const double value = content.points[point][axis];
    world[static_cast<int>(axis)] =
        content.grid ? value * content.grid->scale[axis] + content.grid->offset[axis] : value;
  }
  return world;
}

}  // namespace

Math::NBoundingBox<double, 3> ScanContent::trueBox() const {
  Math::NBoundingBox<double, 3> box;
  for (std::size_t i = 0; i < points.size(); ++i) box.expand(worldOf(*this, i));
  return box;
}

ListScan::ListScan(ScanContent content) : content_(std::move(content)) {
  info_.name = content_.name;
  info_.numPoints = content_.points.size();
  info_.statedBox = content_.statedBox.value_or(content_.trueBox());
  info_.grid = content_.grid;
  for (const ScanColumn& column : content_.columns) info_.attributes.push_back(column.attribute);
  info_.projection = content_.projection;
  info_.toAdjustedStandardTime = content_.toAdjustedStandardTime;
}

std::uint64_t ListScan::numBlocks() const {
  return (content_.points.size() + content_.pointsPerBlock - 1) / content_.pointsPerBlock;
}

std::size_t ListScan::mostPointsOf(std::uint64_t block) const {
  return std::min(content_.pointsPerBlock, content_.points.size() - block * content_.pointsPerBlock);
}

std::size_t ListScan::readBlock(std::uint64_t block, const Converter::RecordTarget& target,
                                Converter::BlockCoordinates& coordinates) const {
  content_.beforeBlock(block);
  const std::size_t count = content_.kept(block, mostPointsOf(block));
  const std::size_t first = block * content_.pointsPerBlock;
  coordinates = {};
  for (std::size_t i = 0; i < count; ++i) {
    for (const double value : content_.points[first + i]) {
      if (content_.grid) {
        coordinates.stored.push_back(static_cast<std::int32_t>(value));
      } else {
        coordinates.world.push_back(value);
      }
    }
    for (std::size_t k = 0; k < content_.columns.size(); ++k) {
      if (target.offsets[k] == Converter::RecordTarget::kUnwanted) continue;
      const ScanColumn& column = content_.columns[k];
      const std::size_t size = column.attribute.size();
      std::memcpy(target.records + i * target.stride + target.offsets[k],
                  column.bytes.data() + (first + i) * size, size);
    }
  }
  return count;
}

std::vector<Math::Point<double, 3>> ListScan::sample(std::size_t count) const {
  std::vector<Math::Point<double, 3>> drawn;
  const std::size_t step = std::max<std::size_t>(content_.points.size() / std::max<std::size_t>(count, 1), 1);
  for (std::size_t i = 0; i < content_.points.size(); i += step) drawn.push_back(worldOf(content_, i));
  return drawn;
}

void ListScan::checkUnchanged() const {
  if (content_.changesWhileRead) {
    throw Converter::ConversionError(Converter::Result::InputCannotRead,
                                     content_.name + ": changed while it was read");
  }
}

ListScans scansOf(std::vector<ScanContent> contents) {
  ListScans scans;
  for (ScanContent& content : contents) scans.push_back(std::make_unique<ListScan>(std::move(content)));
  return scans;
}

}  // namespace Testing
