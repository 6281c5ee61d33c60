#include "converter/E57ScanReader.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <string>
#include <utility>

#include "converter/ConversionError.h"
#include "converter/E57Part.h"
#include "converter/InputErrors.h"
#include "converter/ScanFile.h"
#include "formats/e57/Document.h"
#include "formats/e57/Header.h"
#include "formats/e57/Pages.h"

namespace Converter {
namespace {

namespace E57 = Formats::E57;

using E57::PacketIndex;

static_assert(RecordTarget::kUnwanted == E57::PointTarget::kUnwanted);

/// As translated(), where a damaged page counts as one that cannot be read.
template <class Work>
auto withPages(Result damage, const Work& work) {
  return translated(damage, [&] {
    try {
      return work();
    } catch (const E57::DamagedPage& error) {
      throw ConversionError(Result::InputCannotRead, error.what());
    }
  });
}

class E57ScanReader final : public ScanReader {
 public:
  E57ScanReader(E57File file, std::vector<E57Part> parts, std::vector<E57::PointAttribute> attributes,
                ScanInfo info)
      : file_(std::move(file)),
        parts_(std::move(parts)),
        attributes_(std::move(attributes)),
        info_(std::move(info)) {
    if (!parts_.empty()) {
      numSteps_ = parts_.back().endStep();
      numBlocks_ = parts_.back().endBlock();
    }
    dropped_ = std::make_unique<BlockDrops[]>(static_cast<std::size_t>(numBlocks_));
  }

  [[nodiscard]] const ScanInfo& info() const override { return info_; }
  [[nodiscard]] std::uint64_t numBlocks() const override { return numBlocks_; }

  [[nodiscard]] std::size_t mostPointsOf(std::uint64_t block) const override {
    const E57Part& part = partOf(block, &E57Part::firstBlock);
    return part.recordsIn((block - part.firstBlock) * kStepsPerE57Block, kStepsPerE57Block);
  }

  std::size_t readBlock(std::uint64_t block, const RecordTarget& target,
                        BlockCoordinates& coordinates) const override {
    const E57Part& part = partOf(block, &E57Part::firstBlock);
    E57::PointTarget wanted{target.records, target.stride, {}};
    wanted.offsets.fill(E57::PointTarget::kUnwanted);
    for (std::size_t i = 0; i < attributes_.size(); ++i) {
      wanted.offsets[static_cast<std::size_t>(attributes_[i])] = target.offsets[i];
    }
    E57::DroppedPoints dropped;
    const std::uint64_t step = (block - part.firstBlock) * kStepsPerE57Block;
    const std::size_t count =
        read(part, step, part.recordsIn(step, kStepsPerE57Block), wanted, coordinates, dropped);
    BlockDrops& drops = dropped_[static_cast<std::size_t>(block)];
    drops.invalid = static_cast<std::uint32_t>(dropped.invalid);
    drops.notFinite = static_cast<std::uint32_t>(dropped.notFinite);
    return count;
  }

  [[nodiscard]] std::vector<Math::Point<double, 3>> sample(std::size_t count) const override {
    // Packets are read whole, so few large groups cost less than many small ones.
    constexpr std::size_t kGroup = PacketIndex::kRecordsPerStep / 2;
    constexpr std::uint64_t kFewGroups = 32;
    std::vector<Math::Point<double, 3>> points;
    if (numSteps_ == 0 || count == 0) return points;
    const std::uint64_t groups = std::min(numSteps_, std::max<std::uint64_t>(count / kGroup, kFewGroups));
    const auto perGroup = static_cast<std::size_t>((count + groups - 1) / groups);
    E57::PointTarget nothing;
    nothing.offsets.fill(E57::PointTarget::kUnwanted);
    BlockCoordinates coordinates;
    E57::DroppedPoints dropped;
    for (std::uint64_t group = 0; group < groups; ++group) {
      const std::uint64_t step = numSteps_ / groups * group + numSteps_ % groups * group / groups;
      const E57Part& part = partOf(step, &E57Part::firstStep);
      const std::uint64_t ofPart = step - part.firstStep;
      const std::size_t records = std::min(part.recordsIn(ofPart, 1), perGroup);
      const std::size_t found = read(part, ofPart, records, nothing, coordinates, dropped);
      for (std::size_t p = 0; p < found; ++p) {
        const double* const at = coordinates.world.data() + 3 * p;
        points.push_back({{at[0], at[1], at[2]}});
      }
    }
    return points;
  }

  [[nodiscard]] std::vector<std::string> remarks() const override {
    E57::DroppedPoints all;
    for (std::size_t block = 0; block < numBlocks_; ++block) {
      all.add({dropped_[block].invalid, dropped_[block].notFinite});
    }
    std::vector<std::string> remarks;
    const auto add = [&](const char* what, std::uint64_t count) {
      if (count != 0) remarks.push_back(std::string(what) + " were left out: " + std::to_string(count) + '.');
    };
    add("Points that are flagged as no measurement", all.invalid);
    add("Points whose coordinates are no finite numbers", all.notFinite);
    return remarks;
  }

  void checkUnchanged() const override {
    withPages(Result::InputCannotRead, [&] {
      if (file_.file->size() == file_.size && file_.file->modificationTime() == file_.modificationTime)
        return;
      throw ConversionError(Result::InputCannotRead, info_.name + ": the file was changed while it was read");
    });
  }

 private:
  /// Of the last time that a block was read; every time gives the same.
  struct BlockDrops {
    std::atomic<std::uint32_t> invalid{0};
    std::atomic<std::uint32_t> notFinite{0};
  };

  /// The one with block or step number @p number of the file.
  [[nodiscard]] const E57Part& partOf(std::uint64_t number, std::uint64_t E57Part::*first) const {
    const auto behind =
        std::upper_bound(parts_.begin(), parts_.end(), number,
                         [first](std::uint64_t n, const E57Part& part) { return n < part.*first; });
    return *(behind - 1);
  }

  std::size_t read(const E57Part& part, std::uint64_t step, std::size_t records,
                   const E57::PointTarget& target, BlockCoordinates& coordinates,
                   E57::DroppedPoints& dropped) const {
    return withPages(Result::InputCannotRead, [&] {
      E57Pages pages = file_.pages(kPagesForPoints);
      E57::Columns columns;
      part.index.read(step, records, part.decoder.wanted(target), fetchFrom(pages), file_.name, columns);
      coordinates.stored.clear();
      coordinates.world.resize(3 * records);
      const std::size_t count =
          part.decoder.decode(columns, records, coordinates.world.data(), target, dropped);
      coordinates.world.resize(3 * count);
      return count;
    });
  }

  E57File file_;
  std::vector<E57Part> parts_;
  std::vector<E57::PointAttribute> attributes_;  // one an attribute of info_
  ScanInfo info_;
  std::uint64_t numSteps_ = 0;
  std::uint64_t numBlocks_ = 0;
  std::unique_ptr<BlockDrops[]> dropped_;  // one a block
};

E57::Header readHeader(const E57File& file) {
  std::vector<std::byte> bytes(std::min<std::uint64_t>(file.size, E57::kHeaderSize));
  file.file->read(0, bytes);
  const E57::Header header = E57::readHeader(bytes, file.name);
  translated(Result::InputCannotRead, [&] { E57::checkFileLength(header, file.size, file.name); });
  file.pages(1).read(0, bytes);  // for its checksum
  return header;
}

E57::Document readDocument(const E57File& file, const E57::Header& header) {
  std::vector<std::byte> xml(static_cast<std::size_t>(header.xmlLength));
  file.pages(kPagesForPoints).read(header.xmlOffset, xml);
  return E57::readDocument(std::move(xml), file.name);
}

/// The corners of what a scan states, in its pose.
void expandByStated(const E57::Scan& scan, Math::NBoundingBox<double, 3>& box) {
  const Math::NBoundingBox<double, 3>& local = *scan.cartesianBounds;
  for (unsigned corner = 0; corner < 8; ++corner) {
    Math::Point<double, 3> point;
    for (int axis = 0; axis < 3; ++axis) {
      point[axis] = (corner >> axis & 1U) != 0 ? local.maximum[axis] : local.minimum[axis];
    }
    box.expand(scan.pose.toWorld(point));
  }
}

/// A box that is not finite where one of the scans states none.
Math::NBoundingBox<double, 3> statedBox(const std::vector<E57Part>& parts) {
  Math::NBoundingBox<double, 3> box;
  for (const E57Part& part : parts) {
    if (!part.scan.cartesianBounds) return {};
    expandByStated(part.scan, box);
  }
  return box;
}

std::vector<E57::PointAttribute> attributesOf(const std::vector<E57Part>& parts) {
  std::vector<E57::PointAttribute> attributes;
  for (std::size_t a = 0; a < E57::kNumPointAttributes; ++a) {
    const auto attribute = static_cast<E57::PointAttribute>(a);
    if (std::any_of(parts.begin(), parts.end(),
                    [&](const E57Part& part) { return holds(part.scan, attribute); })) {
      attributes.push_back(attribute);
    }
  }
  return attributes;
}

/// Opens what is known to be a regular file; throws what the readers of bytes throw.
std::unique_ptr<ScanReader> openScan(E57File file) {
  file.size = file.file->size();
  file.modificationTime = file.file->modificationTime();
  if (file.size == 0) throw ConversionError(Result::InputEmpty, file.name + ": the file is empty");
  E57::Document document = readDocument(file, readHeader(file));
  std::vector<E57Part> parts =
      withPages(Result::InputCannotRead, [&] { return findE57Parts(file, document.scans); });
  ScanInfo info;
  info.name = file.name;
  info.statedBox = statedBox(parts);
  info.projection = std::move(document.coordinateMetadata);
  info.warnings = std::move(document.warnings);
  for (const E57Part& part : parts) info.numPoints += part.scan.recordCount;
  const std::vector<E57::PointAttribute> attributes = attributesOf(parts);
  for (const E57::PointAttribute attribute : attributes) {
    info.attributes.push_back(describe(attribute));
    if (attribute == E57::PointAttribute::GpsTime) info.toAdjustedStandardTime = 0;
  }
  return std::make_unique<E57ScanReader>(std::move(file), std::move(parts), attributes, std::move(info));
}

}  // namespace

std::unique_ptr<ScanReader> openE57(Core::FileSystem& files, const std::filesystem::path& path) {
  return withPages(Result::InputGetInfoError, [&] {
    return openScan({openScanFile(files, path), 0, 0, path.string()});
  });
}

}  // namespace Converter
