#include "api/FakePlugin.h"

#include <algorithm>

namespace Testing {
namespace {

class FakeScan final : public Sorvik::OpenedScan {
 public:
  explicit FakeScan(const FakeFormat& format) : format_(format) {}

  [[nodiscard]] Sorvik::ScanDescription describe() const override { return format_.description; }
  [[nodiscard]] bool readsInParallel() const override { return format_.readsInParallel; }
  void read(std::uint64_t first, std::uint64_t count, Sorvik::ScanPointSink& sink) const override {
    format_.read(first, count, sink);
  }

 private:
  const FakeFormat& format_;
};

}  // namespace

FakeFormat::FakeFormat()
    : read([](std::uint64_t first, std::uint64_t count, Sorvik::ScanPointSink& sink) {
        for (std::uint64_t done = 0; done < count; done += 30) {
          givePoints(first + done, std::min<std::uint64_t>(30, count - done), sink);
        }
      }) {}

void givePoints(std::uint64_t first, std::uint64_t count, Sorvik::ScanPointSink& sink) {
  std::vector<double> positions;
  std::vector<std::uint16_t> intensities;
  for (std::uint64_t i = first; i < first + count; ++i) {
    positions.insert(positions.end(), {static_cast<double>(i), 0, 0});
    intensities.push_back(static_cast<std::uint16_t>(2 * i));
  }
  const std::vector<Sorvik::PointFileColumn> columns{intensities};
  sink.take(positions, columns);
}

bool FakePlugin::probe(Sorvik::Span<const std::byte> start) const {
  return format_.probe({reinterpret_cast<const char*>(start.data()), start.size()});
}

std::unique_ptr<Sorvik::OpenedScan> FakePlugin::open(const std::filesystem::path& /*path*/) const {
  format_.onOpen();
  if (format_.opensNothing) return nullptr;
  return std::make_unique<FakeScan>(format_);
}

}  // namespace Testing
