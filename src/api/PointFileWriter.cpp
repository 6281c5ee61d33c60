#include "Sorvik/PointFileWriter.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <optional>
#include <stdexcept>

#include "api/Arguments.h"
#include "api/PointColumns.h"
#include "core/ReplacingFile.h"
#include "core/WideText.h"
#include "formats/CoordinateFormat.h"
#include "formats/CsvWriter.h"
#include "formats/LasWriter.h"
#include "formats/PlyWriter.h"

namespace Sorvik {
namespace {

/// Points that are turned into bytes at once: few enough for the processor's cache to hold them.
constexpr std::uint64_t kBlockPoints = 8192;

std::string extensionOf(const std::filesystem::path& path) {
  std::string extension = path.extension().string();
  for (char& c : extension) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  return extension;
}

/// The engine's layout, once the public one was found to be one.
::Formats::PointFileLayout checkedLayout(const PointFileLayout& layout) {
  for (const double scale : layout.scale) {
    checkArgument(scale > 0 && std::isfinite(scale), "the scale of coordinates is not above 0");
  }
  for (const double offset : layout.offset) {
    checkArgument(std::isfinite(offset), "the offset of coordinates is not finite");
  }
  ::Formats::PointFileLayout engine;
  engine.scale = layout.scale;
  engine.offset = layout.offset;
  engine.attributes = checkedAttributes(layout.attributes);
  engine.projection = layout.projection;
  engine.adjustedStandardTime = layout.adjustedStandardTime;
  return engine;
}

std::unique_ptr<::Formats::PointWriter> makeWriter(const std::filesystem::path& path,
                                                   const ::Formats::PointFileLayout& layout,
                                                   LasVersion lasVersion) {
  using ::Formats::LasCompression;
  const std::string extension = extensionOf(path);
  if (extension == ".las" || extension == ".laz") {
    return std::make_unique<::Formats::LasWriter>(
        layout, extension == ".laz" ? LasCompression::Laz : LasCompression::None,
        lasVersion == LasVersion::V12 ? ::Formats::LasVersion::V12 : ::Formats::LasVersion::V14);
  }
  if (extension == ".ply") return std::make_unique<::Formats::PlyWriter>(layout);
  if (extension == ".csv") return std::make_unique<::Formats::CsvWriter>(layout);
  throw std::invalid_argument(path.string() + ": the extension is none of .las, .laz, .ply, .csv");
}

}  // namespace

struct PointFileWriter::Impl {
  Impl(const std::filesystem::path& filePath, const ::Formats::PointFileLayout& layout, LasVersion lasVersion)
      : name(filePath.string()),
        attributes(layout.attributes),
        writer(makeWriter(filePath, layout, lasVersion)) {
    file.emplace(filePath);
    put(writer->head());
  }

  Impl(std::function<void(Span<const char>)> lines, const ::Formats::PointFileLayout& layout)
      : name("CSV text"),
        attributes(layout.attributes),
        writer(std::make_unique<::Formats::CsvWriter>(layout)),
        sink(std::move(lines)) {
    put(writer->head());
  }

  void put(std::span<const std::byte> bytes) {
    if (bytes.empty()) return;
    if (file) return file->append(bytes);
    sink({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  }

  void writeBlocks(std::span<const double> positions, std::vector<::Formats::AttributeValues> values) {
    const std::size_t count = positions.size() / 3;
    for (std::size_t first = 0; first < count; first += kBlockPoints) {
      const std::size_t size = std::min<std::size_t>(kBlockPoints, count - first);
      put(writer->encode({positions.subspan(3 * first, 3 * size), values}));
      numPoints += size;
      for (::Formats::AttributeValues& column : values) column.first += size * column.stride;
    }
  }

  void finish() {
    put(writer->tail());
    if (!file) return;
    file->overwriteStart(writer->head());
    file->commit();
  }

  /// Does a step of the writing, after whose failure nothing more can be written.
  template <class Step>
  void attempt(const Step& step) {
    if (!open) throw std::logic_error(name + ": nothing more can be written");
    open = false;
    try {
      step();
    } catch (const std::range_error& error) {
      file.reset();
      throw std::range_error(name + ": " + error.what());
    } catch (...) {
      file.reset();
      throw;
    }
  }

  std::string name;  // for messages
  std::vector<::Math::Attribute> attributes;
  std::unique_ptr<::Formats::PointWriter> writer;
  std::function<void(Span<const char>)> sink;  // used where there is no file
  std::optional<::Core::ReplacingFile> file;
  std::uint64_t numPoints = 0;
  bool open = true;
};

PointFileWriter::PointFileWriter(const std::wstring& path, const PointFileLayout& layout)
    : impl_(std::make_unique<Impl>(std::filesystem::path(::Core::utf8FromWide(path)), checkedLayout(layout),
                                   layout.lasVersion)) {}
PointFileWriter::PointFileWriter(std::function<void(Span<const char>)> sink, const PointFileLayout& layout)
    : impl_(std::make_unique<Impl>(std::move(sink), checkedLayout(layout))) {}
PointFileWriter::PointFileWriter(PointFileWriter&& other) noexcept = default;
PointFileWriter& PointFileWriter::operator=(PointFileWriter&& other) noexcept = default;
PointFileWriter::~PointFileWriter() = default;

bool PointFileWriter::canWrite(const std::wstring& path) {
  const std::string extension = extensionOf(::Core::utf8FromWide(path));
  return extension == ".las" || extension == ".laz" || extension == ".ply" || extension == ".csv";
}

void PointFileWriter::write(Span<const double> positions, Span<const PointFileColumn> columns) {
  checkArgument(positions.size() % 3 == 0, "positions are not three numbers a point");
  checkArgument(columns.size() == impl_->attributes.size(), "there is not one column for each attribute");
  std::vector<::Formats::AttributeValues> values;
  for (std::uint64_t i = 0; i < columns.size(); ++i) {
    values.push_back(checkedValues(columns[i], impl_->attributes[i], positions.size() / 3));
  }
  impl_->attempt([&] { impl_->writeBlocks(positions, std::move(values)); });
  impl_->open = true;
}

std::uint64_t PointFileWriter::numPoints() const { return impl_->numPoints; }

std::string PointFileWriter::unfinishedFile() const {
  return impl_->file && impl_->open ? impl_->file->partialPath().string() : std::string();
}

void PointFileWriter::close() {
  impl_->attempt([this] { impl_->finish(); });
}

std::string coordinateText(double value, double scale) {
  return ::Formats::CoordinateFormat(scale).text(value);
}

}  // namespace Sorvik
