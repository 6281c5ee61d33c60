// Decodes all points of a LAZ file to records in memory, as often as it is told, and prints as JSON the least
// processor time a point on one thread, how much faster two threads are, and a hash of the first records by
// which others can be held against it. Run by scripts/bench_laz.py.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#include "Rounds.h"
#include "converter/LazRecords.h"
#include "converter/LazRuns.h"
#include "core/FileSystem.h"
#include "core/Fnv1a.h"
#include "formats/LasHeader.h"
#include "formats/LasVlr.h"

namespace {

std::vector<std::byte> readPart(const Core::ReadableFile& file, std::uint64_t offset, std::size_t size) {
  std::vector<std::byte> bytes(size);
  file.read(offset, bytes);
  return bytes;
}

/// A LAZ file and room for its records.
class Scan {
 public:
  explicit Scan(const char* path)
      : file_(Core::DiskFileSystem(Core::DiskFileSystem::Sync::No).open(path)), source_{path} {
    const auto head = readPart(*file_, 0, Formats::kLongestLasHeader);
    header_ = Formats::checkLasHeader(Formats::readLasRawHeader(head, source_), source_);
    const Formats::Laz::LazVlr vlr = compression();
    Converter::LazRuns found = Converter::findLazRuns(*file_, header_, vlr, false, source_);
    records_ = std::make_unique<Converter::LazRecords>(*file_, path, vlr, std::move(found.runs), false);
    out_.resize(header_.numPoints * header_.recordLength);
    std::size_t first = 0;
    for (std::uint64_t block = 0; block < records_->numBlocks(); ++block) {
      begins_.push_back(first);
      first += records_->mostPointsOf(block) * header_.recordLength;
    }
  }

  [[nodiscard]] std::uint64_t numPoints() const { return header_.numPoints; }

  void decode(unsigned numThreads) {
    std::atomic<std::uint64_t> next{0};
    const auto work = [&] {
      for (std::uint64_t block = next++; block < begins_.size(); block = next++) decodeBlock(block);
    };
    std::vector<std::jthread> threads;
    for (unsigned i = 1; i < numThreads; ++i) threads.emplace_back(work);
    work();
  }

  /// Of the first 4 MiB.
  [[nodiscard]] std::uint64_t hashOfFirst() const {
    constexpr std::size_t kHashed = std::size_t{1} << 22U;
    return Core::fnv1a({reinterpret_cast<const char*>(out_.data()), std::min(out_.size(), kHashed)});
  }

 private:
  [[nodiscard]] Formats::Laz::LazVlr compression() const {
    using Formats::LasVlrRegion;
    std::vector<std::string> warnings;
    const auto fetch = [&](std::uint64_t offset, std::span<std::byte> out) { file_->read(offset, out); };
    for (const Formats::LasVlr& record : Formats::listLasVlrs(
             {LasVlrRegion::Kind::Vlr, header_.headerSize, header_.pointDataOffset, header_.numVlrs}, fetch,
             warnings)) {
      if (!record.is(Formats::Laz::kVlrUserId, Formats::Laz::kVlrRecordId)) continue;
      return Formats::Laz::readLazVlr(readPart(*file_, record.dataOffset, record.dataSize), source_);
    }
    throw Core::FormatError(source_, "records", "one that describes a compression", "none");
  }

  void decodeBlock(std::uint64_t block) {
    std::byte* const out = out_.data() + begins_[block];
    records_->read(block, Converter::LasRecords::Fields::All,
                   [&](std::size_t first, std::span<const std::byte> records) {
                     std::memcpy(out + first * header_.recordLength, records.data(), records.size());
                   });
  }

  std::unique_ptr<Core::ReadableFile> file_;
  Core::Source source_;
  Formats::LasHeader header_;
  std::unique_ptr<Converter::LazRecords> records_;
  std::vector<std::byte> out_;
  std::vector<std::size_t> begins_;  // of the blocks, in out_
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: laz_decode FILE ROUNDS\n");
    return 2;
  }
  Scan scan(argv[1]);
  scan.decode(1);
  const auto timed = [&](double (*clock)(), unsigned numThreads) {
    const double begin = clock();
    scan.decode(numThreads);
    return clock() - begin;
  };
  const int rounds = std::atoi(argv[2]);
  double processor = 1e9;
  double one = 1e9;
  double two = 1e9;
  for (int round = 0; round < rounds; ++round) {
    processor = std::min(processor, timed(Bench::processorSeconds, 1));
    one = std::min(one, timed(Bench::wallSeconds, 1));
    two = std::min(two, timed(Bench::wallSeconds, 2));
  }
  std::printf("{\"points\": %llu, \"ns\": %.1f, \"two_threads\": %.2f, \"hash_of_first\": \"%016llx\"}\n",
              static_cast<unsigned long long>(scan.numPoints()),
              processor / static_cast<double>(scan.numPoints()) * 1e9, one / two,
              static_cast<unsigned long long>(scan.hashOfFirst()));
  return 0;
}
