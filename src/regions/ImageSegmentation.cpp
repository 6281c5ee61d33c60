#include "regions/ImageSegmentation.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>
#include <utility>

namespace Math {
namespace {

constexpr std::uint64_t kMostPixels = (std::uint64_t{1} << 63U) - 1;

/// The pixels of an axis with @p size of them that a range of floats touches.
struct PixelRange {
  std::uint64_t first = 0;
  std::uint64_t last = 0;
  bool any = false;    ///< whether there are such pixels
  bool whole = false;  ///< whether the range lies within them
};

PixelRange pixelRange(float low, float high, std::uint64_t size) {
  PixelRange range;
  const auto end = static_cast<double>(size);
  const double first = std::floor(static_cast<double>(low));
  const double last = std::floor(static_cast<double>(high));
  range.any = first < end && last >= 0 && first <= last;
  range.whole = range.any && first >= 0 && last < end;
  if (!range.any) return range;
  range.first = first > 0 ? static_cast<std::uint64_t>(first) : 0;
  range.last = last < end ? static_cast<std::uint64_t>(last) : size - 1;
  // The size may not be a double; then its pixels are not floats' either.
  range.first = std::min(range.first, size - 1);
  range.last = std::min(range.last, size - 1);
  return range;
}

}  // namespace

ImageSegmentation::ImageSegmentation(std::uint64_t width, std::uint64_t height,
                                     std::vector<std::uint64_t> counts)
    : width_(width), height_(height), counts_(std::move(counts)) {
  if (height != 0 && width > kMostPixels / height) {
    throw std::invalid_argument("image segmentation: expected fewer than 2^63 pixels, found " +
                                std::to_string(width) + " x " + std::to_string(height));
  }
  const std::uint64_t numPixels = width * height;
  ends_.reserve(counts_.size());
  std::uint64_t end = 0;
  for (const std::uint64_t count : counts_) {
    if (count > numPixels - end) {
      throw std::invalid_argument("image segmentation: expected runs of at most " +
                                  std::to_string(numPixels) + " pixels, found more");
    }
    end += count;
    ends_.push_back(end);
  }
}

/// The run that holds a pixel; their number for the pixels that are left over.
std::size_t ImageSegmentation::runOf(std::uint64_t pixel) const {
  return static_cast<std::size_t>(std::upper_bound(ends_.begin(), ends_.end(), pixel) - ends_.begin());
}

bool ImageSegmentation::inside(const Point<float, 2>& p) const {
  const PixelRange x = pixelRange(p[0], p[0], width_);
  const PixelRange y = pixelRange(p[1], p[1], height_);
  if (!x.whole || !y.whole) return false;
  const std::size_t run = runOf(y.first * width_ + x.first);
  return run < ends_.size() && run % 2 == 1;
}

/// Whether one of the pixels is in, or out. Goes from run to run, and over the rows where a run holds none.
bool ImageSegmentation::anyOf(bool in, const Pixels& pixels) const {
  std::uint64_t pixel = pixels.minY * width_ + pixels.minX;
  const std::uint64_t last = pixels.maxY * width_ + pixels.maxX;
  for (std::size_t run = runOf(pixel); pixel <= last;) {
    const bool runIsIn = run < ends_.size() && run % 2 == 1;
    if (runIsIn == in) return true;
    if (run >= ends_.size()) return false;
    pixel = ends_[run];
    const std::uint64_t x = pixel % width_;
    if (x < pixels.minX) pixel += pixels.minX - x;
    if (x > pixels.maxX) pixel += width_ - x + pixels.minX;
    while (run < ends_.size() && ends_[run] <= pixel) ++run;
  }
  return false;
}

bool overlaps(const ImageSegmentation& shape, const NBoundingBox<float, 3>& box) {
  const PixelRange x = pixelRange(box.minimum[0], box.maximum[0], shape.width_);
  const PixelRange y = pixelRange(box.minimum[1], box.maximum[1], shape.height_);
  return x.any && y.any && shape.anyOf(true, {x.first, y.first, x.last, y.last});
}

bool contains(const ImageSegmentation& shape, const NBoundingBox<float, 3>& box) {
  const PixelRange x = pixelRange(box.minimum[0], box.maximum[0], shape.width_);
  const PixelRange y = pixelRange(box.minimum[1], box.maximum[1], shape.height_);
  return x.whole && y.whole && !shape.anyOf(false, {x.first, y.first, x.last, y.last});
}

}  // namespace Math
