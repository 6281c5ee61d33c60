#include "render/ColorMapLegend.h"

#include <functional>
#include <vector>

#include "math/Boundary.h"

namespace Render {
namespace {

std::vector<Math::Color> sample(const SpectrumFunction& spectrum, std::size_t count) {
  constexpr Math::Boundary::None kBoundary;
  std::vector<Math::Color> samples;
  samples.reserve(count);
  for (std::size_t i = 0; i < count; ++i) samples.push_back(spectrum(kBoundary(legendParameter(i, count))));
  return samples;
}

}  // namespace

double legendParameter(std::size_t index, std::size_t count) {
  return static_cast<double>(static_cast<float>(index)) / static_cast<double>(count);
}

Graphics::ColorImage drawLegend(ColorMap colorMap, std::size_t width, std::size_t height,
                                LegendDirection direction) {
  const SpectrumFunction spectrum = legendSpectrum(spectrumName(colorMap));
  const std::size_t count = direction == LegendDirection::Right ? width : height;
  if (count > 0 && !spectrum) throw std::bad_function_call();
  Graphics::ColorImage image(width, height);
  // An image of no pixels may have any number of columns or rows: more samples than memory can hold.
  if (width == 0 || height == 0) return image;
  const std::vector<Math::Color> samples = sample(spectrum, count);
  for (std::size_t y = 0; y < height; ++y) {
    for (std::size_t x = 0; x < width; ++x) {
      image(x, y) = samples[direction == LegendDirection::Right ? x : height - 1 - y];
    }
  }
  return image;
}

}  // namespace Render
