// Converts scans of a text format that the library does not know: files "*.xyzi" of lines "x y z intensity".
//   text_scans INPUT OUTPUT
#include <Sorvik/Sorvik.h>

#include <charconv>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

/// The numbers of one line.
struct TextPoint {
  double x, y, z;
  double intensity;
};

TextPoint pointOf(const std::string& line, std::uint64_t number) {
  double values[4];
  const char* at = line.data();
  const char* const end = at + line.size();
  for (double& value : values) {
    while (at != end && *at == ' ') ++at;
    const std::from_chars_result result = std::from_chars(at, end, value);
    if (result.ec != std::errc()) {
      throw std::runtime_error("line " + std::to_string(number + 1) + ": expected x y z intensity, found '" +
                               line + "'");
    }
    at = result.ptr;
  }
  return {values[0], values[1], values[2], values[3]};
}

/// One file. Where every kPointsPerRead-th line begins is noted when it is opened, so that any part can be
/// read without the lines before it; reading opens the file anew, so that several threads may read at once.
class TextScan final : public Sorvik::OpenedScan {
 public:
  explicit TextScan(std::filesystem::path path) : path_(std::move(path)) {
    std::ifstream file(path_);
    std::string line;
    while (file.peek() != std::ifstream::traits_type::eof()) {
      if (numLines_ % kPointsPerRead == 0) lineStarts_.push_back(file.tellg());
      std::getline(file, line);
      ++numLines_;
    }
    if (file.bad()) throw std::runtime_error("reading failed");
  }

  Sorvik::ScanDescription describe() const override {
    Sorvik::ScanDescription description;
    description.numPoints = numLines_;
    description.attributes = {{"intensity", Sorvik::AttributeType::UInt16}};
    return description;
  }

  bool readsInParallel() const override { return true; }

  void read(std::uint64_t first, std::uint64_t count, Sorvik::ScanPointSink& sink) const override {
    std::ifstream file(path_);
    file.seekg(lineStarts_[first / kPointsPerRead]);
    std::vector<double> positions;
    std::vector<std::uint16_t> intensities;
    std::string line;
    for (std::uint64_t i = first; i < first + count && std::getline(file, line); ++i) {
      const TextPoint point = pointOf(line, i);
      positions.insert(positions.end(), {point.x, point.y, point.z});
      intensities.push_back(static_cast<std::uint16_t>(point.intensity));
    }
    const std::vector<Sorvik::PointFileColumn> columns{intensities};
    sink.take(positions, columns);
  }

 private:
  std::filesystem::path path_;
  std::uint64_t numLines_ = 0;
  std::vector<std::streamoff> lineStarts_;
};

class TextReader final : public Sorvik::ScanReaderPlugin {
 public:
  std::uint32_t apiVersion() const noexcept override { return Sorvik::kScanReaderApiVersion; }
  std::string extension() const override { return ".xyzi"; }

  /// Numbers begin with few characters.
  bool probe(Sorvik::Span<const std::byte> start) const override {
    if (start.empty()) return true;
    return std::string(" +-.0123456789").find(static_cast<char>(start[0])) != std::string::npos;
  }

  std::unique_ptr<Sorvik::OpenedScan> open(const std::filesystem::path& path) const override {
    return std::make_unique<TextScan>(path);
  }
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  Sorvik::ConverterOptions options;
  options.readers = {std::make_shared<TextReader>()};
  Sorvik::Converter converter(std::filesystem::path(argv[1]).wstring(),
                              std::filesystem::path(argv[2]).wstring(), options);
  if (converter.run() != Sorvik::ConversionState::Completed) {
    std::fprintf(stderr, "%s\n", converter.failedReason().c_str());
    return 1;
  }
  std::printf("%llu points\n", static_cast<unsigned long long>(converter.numPoints()));
}
