#include "converter/LazDecoding.h"

#include <algorithm>
#include <vector>

#include "core/FormatError.h"
#include "formats/laz/LayeredDecoder.h"
#include "formats/laz/PointwiseDecoder.h"

namespace Converter {
namespace {

using Formats::Laz::Compressor;
using Formats::Laz::Wanted;

constexpr std::size_t kUsualWindow = std::size_t{1} << 20U;

/// Some bytes of a run, from a place that moves on.
class Window {
 public:
  Window(const Core::ReadableFile& file, const LazRun& run, std::size_t size)
      : file_(file), end_(run.offset + run.size), buffer_(size + Formats::Laz::kLookahead) {}

  /// The bytes from @p offset on, which is not behind the run's end.
  std::span<const std::byte> moveTo(std::uint64_t offset) {
    offset_ = offset;
    size_ = static_cast<std::size_t>(
        std::min<std::uint64_t>(buffer_.size() - Formats::Laz::kLookahead, end_ - offset));
    const auto bytes = std::span(buffer_).first(size_);
    file_.read(offset, bytes);
    return bytes;
  }

  [[nodiscard]] std::uint64_t offset() const { return offset_; }
  [[nodiscard]] std::size_t size() const { return size_; }
  [[nodiscard]] std::uint64_t end() const { return end_; }
  [[nodiscard]] bool reachesEnd() const { return offset_ + size_ == end_; }

 private:
  const Core::ReadableFile& file_;
  std::uint64_t end_;  // of the run
  std::vector<std::byte> buffer_;
  std::uint64_t offset_ = 0;
  std::size_t size_ = 0;
};

/// Point-wise compressed points, in one chunk or several.
class PointwiseDecoding final : public LazDecoding {
 public:
  PointwiseDecoding(const Core::ReadableFile& file, std::string fileName, const Formats::Laz::LazVlr& vlr,
                    const LazRun& run, bool allowTruncated)
      : fileName_(std::move(fileName)),
        allowTruncated_(allowTruncated),
        hasKnownEnd_(vlr.compressor == Compressor::Chunked && run.chunkPoints == run.numPoints),
        recordLength_(vlr.recordLength()),
        chunkPoints_(run.chunkPoints),
        left_(run.numPoints),
        chunk_(run.firstChunk),
        decoder_(vlr.items),
        window_(file, run, std::max(kUsualWindow, 2 * decoder_.mostBytesPerPoint())),
        pointsAtOnce_(std::max(kUsualWindow / 2 / decoder_.mostBytesPerPoint(), std::size_t{1})),
        position_(run.offset) {}

  std::size_t decode(std::span<std::byte> records) override {
    const std::size_t wanted = records.size() / recordLength_;
    std::size_t done = 0;
    while (done < wanted && !hasEnded_) done += decodeSome(records.subspan(done * recordLength_));
    return done;
  }

 private:
  /// Some of the points for which there is room.
  std::size_t decodeSome(std::span<std::byte> records) {
    std::uint64_t before = 0;
    try {
      if (leftInChunk_ == 0) {
        startChunk();
      } else if (!window_.reachesEnd() &&
                 window_.size() - decoder_.position() < pointsAtOnce_ * decoder_.mostBytesPerPoint()) {
        const std::uint64_t place = window_.offset() + decoder_.position();
        decoder_.continueIn(window_.moveTo(place));
      }
      before = decoder_.numDecoded();
      const auto count =
          std::min<std::uint64_t>({records.size() / recordLength_, leftInChunk_, pointsAtOnce_});
      decoder_.decode(records.first(count * recordLength_));
      finish(count);
      return count;
    } catch (const Core::FormatError&) {
      if (!allowTruncated_ || !window_.reachesEnd()) throw;
      hasEnded_ = true;
      return static_cast<std::size_t>(decoder_.numDecoded() - before);
    }
  }

  void startChunk() {
    name_ = chunkName(fileName_, chunk_++);
    leftInChunk_ = std::min(chunkPoints_, left_);
    decoder_.start(window_.moveTo(position_), leftInChunk_, {name_, position_}, Wanted::All);
  }

  /// Counts points that were decoded.
  void finish(std::size_t count) {
    left_ -= count;
    leftInChunk_ -= count;
    if (leftInChunk_ != 0) return;
    position_ = window_.offset() + decoder_.position();
    if (hasKnownEnd_ && position_ != window_.end()) {
      throw Core::FormatError(
          {name_, position_}, "end of a chunk",
          "at byte " + std::to_string(window_.end()) + " after " + std::to_string(chunkPoints_) + " points",
          "points that end here");
    }
  }

  std::string fileName_;
  bool allowTruncated_;
  bool hasKnownEnd_;
  std::size_t recordLength_;
  std::uint64_t chunkPoints_;
  std::uint64_t left_;             // points of the run
  std::uint64_t leftInChunk_ = 0;  // of them
  std::uint64_t chunk_;            // the next one's number
  Formats::Laz::PointwiseDecoder decoder_;
  Window window_;
  std::size_t pointsAtOnce_;  // for which half the window is enough
  std::uint64_t position_;    // where the next chunk begins
  std::string name_;          // of the chunk at hand, which the decoder views
  bool hasEnded_ = false;
};

/// One layered chunk.
class LayeredDecoding final : public LazDecoding {
 public:
  LayeredDecoding(const Core::ReadableFile& file, const std::string& fileName,
                  const Formats::Laz::LazVlr& vlr, const LazRun& run)
      : recordLength_(vlr.recordLength()),
        left_(run.numPoints),
        name_(chunkName(fileName, run.firstChunk)),
        bytes_(run.size + Formats::Laz::kLookahead),
        decoder_(vlr.items) {
    const auto chunk = std::span(bytes_).first(run.size);
    file.read(run.offset, chunk);
    decoder_.start(chunk, run.numPoints, {name_, run.offset}, Wanted::All);
  }

  std::size_t decode(std::span<std::byte> records) override {
    const std::size_t count = records.size() / recordLength_;
    decoder_.decode(records);
    left_ -= count;
    if (left_ == 0) decoder_.finish();
    return count;
  }

 private:
  std::size_t recordLength_;
  std::uint64_t left_;
  std::string name_;  // which the decoder views
  std::vector<std::byte> bytes_;
  Formats::Laz::LayeredDecoder decoder_;
};

}  // namespace

std::string chunkName(const std::string& fileName, std::uint64_t chunk) {
  return fileName + ", chunk " + std::to_string(chunk);
}

std::unique_ptr<LazDecoding> makeLazDecoding(const Core::ReadableFile& file, const std::string& fileName,
                                             const Formats::Laz::LazVlr& vlr, const LazRun& run,
                                             bool allowTruncated) {
  if (vlr.compressor == Compressor::Layered) {
    return std::make_unique<LayeredDecoding>(file, fileName, vlr, run);
  }
  return std::make_unique<PointwiseDecoding>(file, fileName, vlr, run, allowTruncated);
}

}  // namespace Converter
