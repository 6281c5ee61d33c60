// convert_stages SCAN FOLDER [--uncompressed] [--sync]: converts a scan as the program does and says what
// each stage took and how far the reported progress was from the true share of the time. Without --sync it
// does not wait for the disk. FOLDER must not exist. Ends with 1 when the conversion fails.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "CountedFiles.h"
#include "Rounds.h"
#include "converter/Converter.h"
#include "converter/ConverterEngine.h"

namespace {

constexpr double kMebibyte = 1 << 20;

/// A moment at which something new begins.
struct Mark {
  const char* what;
  double wall;
  double processor;
  std::uint64_t read;
  std::uint64_t written;
};

/// Collects the marks of one conversion. Threads: all calls are safe together.
class Marks {
 public:
  /// @param counts  must outlive this object.
  explicit Marks(const Bench::ByteCounts& counts) : counts_(counts) {}

  void add(const char* what) {
    const std::lock_guard lock(mutex_);
    marks_.push_back({what, Bench::wallSeconds(), Bench::processorSeconds(), counts_.read, counts_.written});
  }
  /// Once the conversion has ended.
  [[nodiscard]] const std::vector<Mark>& all() const { return marks_; }

 private:
  const Bench::ByteCounts& counts_;
  std::mutex mutex_;
  std::vector<Mark> marks_;
};

/// Marks where stages begin, and passes everything on.
class MarkingProgress final : public Converter::Progress {
 public:
  /// Both must outlive this object.
  MarkingProgress(Converter::Progress& next, Marks& marks) : next_(next), marks_(marks) {}

  void begin(Converter::Stage stage, std::uint64_t total) override {
    constexpr std::array kNames{"survey", "distribute", "index", "write"};
    marks_.add(kNames.at(static_cast<std::size_t>(stage)));
    next_.begin(stage, total);
  }
  void advance(std::uint64_t units) override { next_.advance(units); }

 private:
  Converter::Progress& next_;
  Marks& marks_;
};

/// What a running job said of its progress.
struct Report {
  double wall;
  double share;
};

std::vector<Report> watch(const Converter::Converter& job) {
  std::vector<Report> reports;
  while (job.isRunning()) {
    reports.push_back({Bench::wallSeconds(), job.progress().value_or(0)});
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return reports;
}

/// The row of what happened between two marks.
void printRow(const char* what, const Mark& from, const Mark& to, double wholeWall, std::uint64_t points) {
  const double wall = to.wall - from.wall;
  const double processor = to.processor - from.processor;
  std::printf("  %-12s %8.3f %7.1f%% %10.3f %9.1f %6.2f %12.1f %12.1f\n", what, wall, 100 * wall / wholeWall,
              processor, processor * 1e9 / static_cast<double>(points), processor / std::max(wall, 1e-9),
              static_cast<double>(to.read - from.read) / kMebibyte,
              static_cast<double>(to.written - from.written) / kMebibyte);
}

void printStages(const std::vector<Mark>& marks, std::uint64_t points) {
  const double wholeWall = marks.back().wall - marks.front().wall;
  std::printf("  %-12s %8s %8s %10s %9s %6s %12s %12s\n", "stage", "wall s", "share", "cpu s", "ns/point",
              "busy", "MiB read", "MiB written");
  for (std::size_t i = 0; i + 1 < marks.size(); ++i) {
    printRow(marks[i].what, marks[i], marks[i + 1], wholeWall, points);
  }
  printRow("all", marks.front(), marks.back(), wholeWall, points);
  std::puts(
      "  busy: processors kept at work; near the number of threads the stage is bound by them, else by\n"
      "  the disk or by waiting for the slowest part");
}

void printProgress(const std::vector<Report>& reports, const Mark& begin, const Mark& end) {
  double largest = 0;
  double share = 0;
  double reported = 0;
  for (const Report& report : reports) {
    const double trueShare = std::clamp((report.wall - begin.wall) / (end.wall - begin.wall), 0.0, 1.0);
    if (std::abs(report.share - trueShare) <= largest) continue;
    largest = std::abs(report.share - trueShare);
    share = trueShare;
    reported = report.share;
  }
  std::printf("  progress: largest deviation %.1f %%, at %.1f %% of the time, when it said %.1f %%\n",
              100 * largest, 100 * share, 100 * reported);
}

int convert(const std::string& scan, const std::string& folder, const Converter::ConverterOptions& options) {
  const auto sync = options.syncToDisk ? Core::DiskFileSystem::Sync::Yes : Core::DiskFileSystem::Sync::No;
  const auto files = std::make_shared<Bench::CountedFileSystem>(sync);
  Marks marks(files->counts());
  Converter::ConverterEngine engine = Converter::standardEngine(sync);
  const auto convertScans = engine.convert;
  engine.files = files;
  engine.convert = [&](auto scans, const auto& settings, const auto& folders, auto& fileSystem,
                       auto& progress, auto stopToken) {
    marks.add("sample");
    MarkingProgress marking(progress, marks);
    Converter::ConversionReport report =
        convertScans(scans, settings, folders, fileSystem, marking, std::move(stopToken));
    marks.add("commit");
    return report;
  };
  Converter::Converter job(scan, folder, options, std::move(engine));
  marks.add("open");
  job.runAsync();
  const std::vector<Report> reports = watch(job);
  marks.add("end");
  if (!job.isCompleted()) {
    std::fprintf(stderr, "convert_stages: %s\n", job.failedReason().c_str());
    return 1;
  }
  const Converter::ConverterReport report = job.report();
  std::printf("%s, %llu points, %s, %s\n", scan.c_str(), static_cast<unsigned long long>(report.numPoints),
              options.conversion.encoding == PoTree::Encoding::Brotli ? "brotli" : "uncompressed",
              options.syncToDisk ? "synced" : "not synced");
  for (const std::string& remark : report.remarks) std::printf("  %s\n", remark.c_str());
  printStages(marks.all(), report.numPoints);
  printProgress(reports, marks.all().front(), marks.all().back());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> paths;
  Converter::ConverterOptions options;
  options.syncToDisk = false;
  for (const std::string& word : std::vector<std::string>(argv + 1, argv + argc)) {
    if (word == "--uncompressed") {
      options.conversion.encoding = PoTree::Encoding::Uncompressed;
    } else if (word == "--sync") {
      options.syncToDisk = true;
    } else {
      paths.push_back(word);
    }
  }
  if (paths.size() != 2) {
    std::fputs("usage: convert_stages SCAN FOLDER [--uncompressed] [--sync]\n", stderr);
    return 2;
  }
  return convert(paths[0], paths[1], options);
}
